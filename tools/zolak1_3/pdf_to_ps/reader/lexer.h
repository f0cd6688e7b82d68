/*
 * lexer.h - white space, keywords, booleans and numbers
 *
 * The lexer keeps no state: every routine leaves the input's position on the first byte that it
 * did not use.  Every routine does nothing and answers its failure value once the error flag is
 * set; failures are reports of severity 4.
 */
#ifndef PDF_TO_PS_LEXER_H
#define PDF_TO_PS_LEXER_H

#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"

/* Bytes of a keyword's buffer: 255 letters and the terminator. */
constexpr int KEYWORD_BYTES = 256;

/* Counts bytes that were scanned.  What is shared is scanned again each time that it is used, and
 * a hostile document shares large things very often: beyond a fixed amount and so many times the
 * file's size this is reported, severity 4. */
void countScanned(PdfReader *reader, uint32_t bytes);
constexpr uint64_t SCANNED_ALWAYS = 536870912;
constexpr uint64_t SCANNED_PER_FILE_BYTE = 1024;

/* Passes over white space and comments.  A NUL byte is not white space here. */
void skipWhite(PdfReader *reader, ZFile *input);

/* Reads a run of letters behind white space into `buffer`, terminated, empty when there is none;
 * answers the byte that ended it. */
int readKeyword(PdfReader *reader, ZFile *input, char *buffer);

/* 0 for "false", 1 for "true", -1 on failure. */
int readBoolean(PdfReader *reader);

/* Sign, digits and one point; 0.0 on failure. */
double readNumber(PdfReader *reader);

/* The number without its fraction, held to the 32-bit range. */
int32_t readInteger(PdfReader *reader);

inline bool isDigitByte(int byte)
{
    return byte >= '0' && byte <= '9';
}

inline bool isLetterByte(int byte)
{
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

#endif
