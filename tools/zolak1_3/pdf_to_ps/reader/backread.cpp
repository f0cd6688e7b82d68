/*
 * backread.cpp - reading a file from its end
 */
#include "tools/zolak1_3/pdf_to_ps/reader/backread.h"

#include <cerrno>
#include <utility>

#include "zelkov/text.h"

namespace {

bool isLineEnd(int byte)
{
    return byte == '\n' || byte == '\r';
}

/* Moves one byte towards the start and answers that byte.  At the start of the file there is
 * none: errno becomes 1 and the answer is 0. */
int stepBack(ZFile *file)
{
    uint32_t position = fgetp(file);
    if (position == 0) {
        errno = 1;
        return 0;
    }
    fputp(file, position - 1);
    int byte = fgetb(file);
    fputp(file, position - 1);
    return byte;
}

void skipLineEndBackward(ZFile *file)
{
    int byte = stepBack(file);
    if (!isLineEnd(byte)) {
        fgetb(file);
        return;
    }
    int partner = byte == '\n' ? '\r' : '\n';
    if (stepBack(file) != partner)
        fgetb(file);
}

void reverseText(char *text)
{
    size_t length = lenstr(text);
    for (size_t i = 0; i < length / 2; i++)
        std::swap(text[i], text[length - 1 - i]);
}

} // namespace

int readLineBackward(ZFile *file, char *buffer)
{
    int count = 0;
    *buffer = 0;
    skipLineEndBackward(file);
    while (!errno) {
        int byte = stepBack(file);
        if (errno)
            break;
        if (isLineEnd(byte)) {
            fgetb(file);
            break;
        }
        if (count < LINE_BYTES - 1) {
            buffer[count] = (char)byte;
            buffer[count + 1] = 0;
        }
        count++;
    }
    reverseText(buffer);
    return count;
}
