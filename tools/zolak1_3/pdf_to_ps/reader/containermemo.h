/*
 * containermemo.h - what the parser remembers of values that it has read
 *
 * To tell a dictionary from a stream one must read it to its end, and to read a container one
 * must classify and pass over all that it holds.  Without a memory each level of nesting would
 * read the levels below several times.  The memo keeps, for containers read without a fault, where
 * they end: each is then read once, however often it is asked for.
 *
 * It has a fixed size.  The container read last is always kept, which is what one level needs; the
 * others are kept by their length, because the long ones are those that hold the rest.
 */
#ifndef PDF_TO_PS_CONTAINERMEMO_H
#define PDF_TO_PS_CONTAINERMEMO_H

#include <cstdint>

struct ReadContainer {
    uint32_t start;       /* offset of the '[' or of the first '<' */
    uint32_t end;         /* behind the ']' or the second '>' */
    uint32_t lengthValue; /* value position of a dictionary's /Length, when hasLength */
    uint32_t stamp;       /* when it was kept */
    int16_t levels;       /* of nesting, its own included */
    int8_t type;          /* a PdfType */
    bool hasLength;
    bool used;
};

constexpr uint32_t MEMO_SLOTS = 512;

struct ContainerMemo {
    ReadContainer last;
    ReadContainer slots[MEMO_SLOTS];
    uint32_t stamp;
};

/* Zeroed, a memo is empty. */
void memo_clear(ContainerMemo *memo);
void memo_keep(ContainerMemo *memo, const ReadContainer &container);

/* The container that starts there, or null. */
const ReadContainer *memo_find(const ContainerMemo *memo, uint32_t start);

#endif
