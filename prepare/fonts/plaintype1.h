/*
 * plaintype1.h - the writer of Type 1 programs, for printers of Level 2
 *
 * They hold what compact fonts hold: outlines, widths and hint values.  Encrypted data cannot be
 * compressed, so these are several times as large.
 */
#ifndef PREPARE_FONTS_PLAINTYPE1_H
#define PREPARE_FONTS_PLAINTYPE1_H

#include "prepare/fonts/compact.h"

namespace prepare {

/* The three parts of a program. */
struct PlainType1 {
    std::string clear, secret, end;
};

PlainType1 writePlainType1(const CompactFont &font);

} // namespace prepare

#endif
