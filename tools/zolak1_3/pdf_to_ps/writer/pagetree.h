/*
 * pagetree.h - the page tree
 */
#ifndef PDF_TO_PS_PAGETREE_H
#define PDF_TO_PS_PAGETREE_H

#include "tools/zolak1_3/pdf_to_ps/writer/pages.h"

/* Walks the tree from the node at the input's position and writes its pages, or the one that is
 * selected.  `pageCounter` counts the pages passed so far, written or skipped. */
void walkPageTree(ConversionRun *run, PageAttributes attributes, int64_t *pageCounter);

#endif
