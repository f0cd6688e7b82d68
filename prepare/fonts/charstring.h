/*
 * charstring.h - the operators of charstrings, for all that read or write them
 *
 * Those of Type 1 programs ("Adobe Type 1 Font Format", chapter 6) and those of compact fonts
 * (technical note 5177) share their numbers where they share their names.
 */
#ifndef PREPARE_FONTS_CHARSTRING_H
#define PREPARE_FONTS_CHARSTRING_H

namespace prepare {

enum CharOperator {
    HSTEM = 1,
    VSTEM = 3,
    VMOVETO = 4,
    RLINETO = 5,
    HLINETO = 6,
    VLINETO = 7,
    RRCURVETO = 8,
    CLOSEPATH = 9,
    CALLSUBR = 10,
    RETURN = 11,
    ESCAPE = 12,
    HSBW = 13,
    ENDCHAR = 14,
    HSTEMHM = 18, /* compact fonts only, as the next one and VSTEMHM */
    HINTMASK = 19,
    RMOVETO = 21,
    HMOVETO = 22,
    VSTEMHM = 23,
    VHCURVETO = 30,
    HVCURVETO = 31,
    DOTSECTION = 1200, /* from here on: 1200 and the byte behind ESCAPE */
    VSTEM3 = 1201,
    HSTEM3 = 1202,
    SEAC = 1206,
    SBW = 1207,
    DIV = 1212,
    CALLOTHERSUBR = 1216,
    POP = 1217,
    SETCURRENTPOINT = 1233,
};

} // namespace prepare

#endif
