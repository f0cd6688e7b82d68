/*
 * font_programs.h - small Type 1 and compact Type 1 font programs, made of polygons
 */
#ifndef TESTS_POSTSCRIPT_FONT_PROGRAMS_H
#define TESTS_POSTSCRIPT_FONT_PROGRAMS_H

#include <string>
#include <utility>
#include <vector>

/* A glyph of one contour; no point: nothing to see.  Units are thousandths; all numbers stay below
 * 1132, which a charstring holds in two bytes. */
struct PolygonGlyph {
    std::string name;
    int width;
    std::vector<std::pair<int, int>> points;
};

/* ".notdef" without a path, "box", "tri" (a triangle) and "bar", 700, 600 and 300 wide. */
std::vector<PolygonGlyph> sampleGlyphs();

/* The three parts of a Type 1 program. */
struct TypeOneProgram {
    std::string clear, encrypted, trailer;
};

/* `encoding` holds lines like "dup 65 /box put"; it is complete but for those. */
TypeOneProgram typeOneProgram(const std::string &name, const std::vector<PolygonGlyph> &glyphs,
                              const std::string &encoding);

/* A compact font, its glyphs named, its encoding giving codes 65, 66, ... to the glyphs behind the
 * first one.  `privateEntries` is put into its Private dictionary. */
std::string compactProgram(const std::string &name, const std::vector<PolygonGlyph> &glyphs,
                           const std::string &privateEntries = "");

/* An OpenType font with the tables "CFF " and "head", which holds nothing of use. */
std::string openTypeProgram(const std::string &compact);

#endif
