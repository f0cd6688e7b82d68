/*
 * plaintables.h - the reader's own answer: can it find its way in a file as it stands?
 */
#ifndef PDF_TO_PS_PLAINTABLES_H
#define PDF_TO_PS_PLAINTABLES_H

/* Does the reader take the file's index?  That is a header at the first byte, "startxref" among the
 * last lines, and classic sections from there along the whole /Prev chain, without encryption; and
 * none of their trailers names a section of another kind beside it (/XRefStm), which the reader
 * would not see.  Says nothing; takes time in proportion to the file's size.  Throws nothing but
 * std::bad_alloc. */
bool tablesArePlain(const char *path);

#endif
