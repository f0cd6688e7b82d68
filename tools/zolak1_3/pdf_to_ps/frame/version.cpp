/*
 * version.cpp - the header line of a PDF file
 */
#include "tools/zolak1_3/pdf_to_ps/frame/version.h"

#include <cerrno>
#include <cstring>

#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"

namespace {

constexpr int HEADER_BYTES = 32;
constexpr char HEADER_START[] = "%PDF-";
constexpr int NUMBER_START = sizeof HEADER_START - 1;

/* Beyond these a further digit would not fit. */
constexpr int32_t VALUE_LIMIT = 0x0CCCCCCC;
constexpr int32_t SCALE_LIMIT = 0x0CCCCCCD;

/* A version in hundredths. */
struct Version {
    int32_t hundredths;
    bool hasPoint; /* without one the number is whole, and no version that we know */
};

/* Reads the first line, cut at 31 bytes, and puts a line feed behind it; answers its length
 * without that, or -1 when a read failed. */
int readHeader(PdfReader *reader, char *header)
{
    int length = 0;
    while (length < HEADER_BYTES - 1 && !errno) {
        int byte = fgetb(reader->input);
        if (errno || byte == '\n' || byte == '\r')
            break;
        header[length++] = (char)byte;
    }
    header[length] = '\n';
    return errno ? -1 : length;
}

/* Reads the number behind "%PDF-": digits and a point, ended by a blank, the line end or the second
 * decimal.  False when anything else stands there. */
bool readVersion(const char *header, int length, Version *version)
{
    int32_t value = 0, scale = 0;
    for (int i = NUMBER_START; i <= length && scale < 100; i++) {
        char c = header[i];
        if (c == '\n' || c == ' ')
            break;
        if (c == '.') {
            scale = 1;
            continue;
        }
        if (!isDigitByte(c) || value >= VALUE_LIMIT || scale >= SCALE_LIMIT)
            return false;
        value = value * 10 + (c - '0');
        scale *= 10;
    }
    version->hasPoint = scale != 0;
    while (scale != 0 && scale < 100) {
        if (value >= VALUE_LIMIT)
            return false;
        value *= 10;
        scale *= 10;
    }
    version->hundredths = value;
    return true;
}

bool isKnownVersion(const Version &version)
{
    return version.hasPoint &&
           (version.hundredths == 100 || version.hundredths == 110 || version.hundredths == 120);
}

} // namespace

void checkVersion(PdfReader *reader)
{
    char header[HEADER_BYTES];
    Version version = {};
    int length = errno ? -1 : readHeader(reader, header);
    bool accepted = length >= 4 && strncmp(header, HEADER_START, NUMBER_START) == 0 &&
                    readVersion(header, length, &version);
    /* After an error, the header is not what is wrong. */
    if (!accepted && reader->errorFlag)
        return;
    if (!accepted) {
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "PDFVRSN", "This is not a PDF file");
        return;
    }
    double number = version.hasPoint ? version.hundredths / 100.0 : version.hundredths;
    zolakReport(reader, __LINE__, SEVERITY_INFO, "INTRO", "This is a PDF v%3.1f file.", number);
    if (!isKnownVersion(version))
        zolakReport(reader, __LINE__, SEVERITY_WARNING, "PDFVRSN",
                    "This is an unknown version of the PDF format.  Output may be incorrect.  "
                    "Please check thoroughly the result.");
}
