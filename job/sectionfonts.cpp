/*
 * sectionfonts.cpp - fonts of a section: compact programs, glyphs that are content, paths
 */
#include "job/sectionreader.h"

#include <algorithm>

namespace job {

/* ---- fonts */

bool SectionReader::compactFont()
{
    Entries entries;
    int64_t count;
    return whole(&count, 0, MOST_INTEGER) && word("AppendCount") && literal("\n") &&
           (in.skip((uint64_t)count) || refuse("data is shorter than its count")) &&
           literal("\n") && expect(TokenKind::OPEN_DICT, "a font program has no dictionary") &&
           dictionary(programKeys, &entries) && word("ExecType1C");
}

/* The contents of glyphs; the runtime finds their ends by lines and bytes, which it shall find
 * where we do. */
bool SectionReader::glyphs(Content *most)
{
    for (int64_t count = 0; !in.follows(">>\n"); count++) {
        Content one;
        ContentState glyph(&one);
        std::string text;
        if (count == MOST_GLYPHS || !name(&text, LONGEST_NAME) || !literal(" { save\n"))
            return refuse("a font has too many glyphs");
        if (const char *wrong = readContent(in, &glyph, true))
            return refuse(wrong);
        if (in.whiteBefore() != ' ' || !literal(" }\n"))
            return refuse("the content of a glyph does not end");
        if (const char *wrong = glyph.finish())
            return refuse(wrong);
        if (!limitPath(glyph))
            return false;
        one.raise(most);
    }
    return true;
}

bool SectionReader::type3(const std::string &key)
{
    Content most;
    Entries encoding;
    if (!words("3"))
        return false;
    while (in.next().kind == TokenKind::NAME) {
        bool isMatrix = in.last().is("/FontMatrix");
        if ((!isMatrix && !in.last().is("/FontBBox")) ||
            !numbers(isMatrix ? 6 : 4, isMatrix ? 6 : 4))
            return refuse("a font has a key that is not known");
    }
    if (in.last().kind != TokenKind::OPEN_DICT || !dictionary(encodingKeys, &encoding) ||
        !word("T3AdjEnc") || !literal("\n"))
        return refuse("a font has no encoding");
    if (in.follows("/CharProcs <<\n/.notdef {250 0 d0}\n") && !glyphs(&most))
        return false;
    account.defineFont(key, std::move(most));
    return literal("T3DefFnct\n") && words(">> definefont pop");
}

/* A TrueType program, as the converter writes it: with comments, and paths as procedures. */
bool SectionReader::convertedFont()
{
    constexpr std::string_view begins = "20 dict begin /FontType 3 def",
                               ends =
                                   "/BuildGlyph { exch /CharProcs get exch 2 copy known not "
                                   "{ pop /.notdef } if get exec } bind def /BuildChar { 1 index "
                                   "/Encoding get exch get 1 index /BuildGlyph get exec } bind "
                                   "def currentdict end definefont pop";
    in.takesComments = true;
    bool isGood = words(begins) && convertedInfo() && convertedGlyphs() && words(ends) &&
                  literal("\n%%%%EndFont\n");
    in.takesComments = false;
    return isGood;
}

bool SectionReader::convertedInfo()
{
    constexpr std::string_view ways[] = {"/FontName", "/FontInfo 9 dict dup begin"};
    constexpr std::string_view names[] = {"/FullName", "/Notice", "/FamilyName", "/Weight",
                                          "/version"};
    auto text = [this] { return expect(TokenKind::STRING, "a string is missing") && word("def"); };
    int way = oneOf(ways);
    if (way < 0 || (way == 0 && (!text() || !words(ways[1]))))
        return false;
    while (std::find(std::begin(names), std::end(names), in.next().text) != std::end(names))
        if (!text())
            return false;
    in.again();
    constexpr std::string_view fixed[] = {"true def end def", "false def end def"};
    if (!words("/italicAngle # def /underlineThickness # def /underlinePosition # def "
               "/isFixedPitch") ||
        oneOf(fixed) < 0 ||
        !words("/FontMatrix [ # 0 0 # 0 0 ] def /FontBBox [ # # # # ] def /Encoding ["))
        return false;
    for (int code = 0; code < 256; code++)
        if (!expect(TokenKind::NAME, "an encoding is too short"))
            return false;
    return words("] def");
}

/* The runtime takes them by their lines, up to the line "end", and goes on behind it: where they
 * end for it they end here. */
bool SectionReader::convertedGlyphs()
{
    int64_t count;
    if (!words("/CharProcs") || !whole(&count, 1, MOST_GLYPHS) ||
        !words("dict def CharProcs begin") || !literal("\n"))
        return false;
    while (!in.follows("end\n"))
        if (!convertedGlyph())
            return false;
    return true;
}

bool SectionReader::convertedGlyph()
{
    constexpr std::string_view allowed[] = {
        "moveto", "lineto",    "curveto", "closepath", "setcachedevice", "fill",
        "matrix", "setmatrix", "concat",  "[",         "currentmatrix",  "]"};
    if (in.next().kind != TokenKind::NAME || in.whiteBefore() != 0)
        return refuse("a converted font does not end");
    if (!literal(" { ") || !in.comment())
        return refuse("a glyph of a converted font has no number");
    while (in.next().kind != TokenKind::CLOSE_PROCEDURE) {
        const Token &token = in.last();
        if (!isInRange(token) &&
            std::find(std::begin(allowed), std::end(allowed), token.text) == std::end(allowed))
            return refuse("a glyph of a converted font holds other than a path");
    }
    return (in.whiteBefore() == ' ' || refuse("a line is not as it must be")) &&
           literal(" bind def\n");
}

} // namespace job
