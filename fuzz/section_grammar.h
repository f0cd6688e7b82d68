/*
 * section_grammar.h - sections that bytes write
 */
#ifndef FUZZ_SECTION_GRAMMAR_H
#define FUZZ_SECTION_GRAMMAR_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/* Each byte takes one of the ways that there are; when none is left, the first one. */
class SectionGrammar {
  public:
    SectionGrammar(const uint8_t *data, size_t size) : at(data), end(data + size) {}

    std::string section(bool isShared)
    {
        if (!isShared)
            return page();
        std::string all;
        for (size_t i = 0, parts = choose(4); i < parts; i++) {
            std::string part = resource();
            all += std::to_string(i) + " " + count(part.size()) + "\n" + part;
        }
        return all;
    }

  private:
    size_t choose(size_t ways) { return at < end ? *at++ % ways : 0; }

    template <size_t N> std::string_view one(const std::array<std::string_view, N> &ways)
    {
        return ways[choose(N)];
    }

    /* Now and then it lies. */
    std::string count(size_t bytes)
    {
        size_t way = choose(64);
        return std::to_string(way == 63 ? bytes + 1 : way == 62 ? bytes / 2 : bytes);
    }

    /* What is hostile comes seldom, so that much of the rest is accepted. */
    std::string strange()
    {
        constexpr std::array<std::string_view, 40> ways = {"quit",      "(x) run",
                                                           "{ quit }",  "//systemdict",
                                                           "<~~>",      "16#FF",
                                                           "\x84",      "% x\n",
                                                           "% x\f",     "% x\r",
                                                           ")",         "}",
                                                           ">",         "(",
                                                           "<41",       "\x80",
                                                           "1e5",       "--1",
                                                           "/",         "//",
                                                           "\f",        "\r",
                                                           "\v",        "]",
                                                           ">>",        "end",
                                                           "\nend\n",   " } bind def\n",
                                                           "(\\",       "currentfile",
                                                           "begin",     "{",
                                                           "% x",       "/a#20b",
                                                           "exec",      "save",
                                                           "restore }", "1 ReadCount\n",
                                                           "~>",        "<<"};
        return choose(24) == 23 ? std::string(one(ways)) : std::string();
    }

    std::string blank()
    {
        constexpr std::array<std::string_view, 8> ways = {" ",  "\n", " ",    " ",
                                                          "  ", "\t", "\r\n", "\f"};
        return std::string(one(ways));
    }

    std::string number()
    {
        constexpr std::array<std::string_view, 12> ways = {
            "0", "1", "-1", ".5", "12.25", "+3.", "255", "-0.001", "65536", "00", "-.5", "1e3"};
        return std::string(choose(40) == 39 ? std::string_view(ways[11]) : ways[choose(11)]);
    }

    std::string name()
    {
        constexpr std::array<std::string_view, 8> ways = {"/A", "/Im0", "/a.b-c+d_e", "/F1",
                                                          "/1", "/-",   "/quit",      "/X"};
        return std::string(one(ways));
    }

    std::string string()
    {
        constexpr std::array<std::string_view, 14> ways = {
            "(x)",    "(a(b)c)", "(\\))", "(\\\\)",    "(\\101\\1)", "<41 4>",     "()",
            "(\\\n)", "(%)",     "({)",   "(restore)", "(\\\r\n)",   "(\x80\xFF)", "(\r)"};
        return std::string(one(ways));
    }

    std::string operation()
    {
        constexpr std::array<std::string_view, 40> ways = {"0 0 m",
                                                           "9 9 l S",
                                                           "0 0 9 9 re f",
                                                           "q 1 w Q",
                                                           "1 0 0 1 0 0 cm",
                                                           "[1 2] 0 d",
                                                           "/A gs",
                                                           "BT /F1 9 Tf (x) Tj ET",
                                                           "BT [(x) -1 (y)] TJ ET",
                                                           "/X Do",
                                                           "/A cs 1 scn",
                                                           "1 g",
                                                           "0 0 0 rg",
                                                           "1 2 3 4 K",
                                                           "/A BMC EMC",
                                                           "/A <</B [1 (x) /y]>> BDC EMC",
                                                           "/A /B DP",
                                                           "n",
                                                           "W n",
                                                           "1 2 3 4 5 6 c",
                                                           "h",
                                                           "BX EX",
                                                           "1 i",
                                                           "/A ri",
                                                           "BT T* ET",
                                                           "BT (x) ' ET",
                                                           "BT 1 2 (x) \" ET",
                                                           "q q Q Q",
                                                           "/A sh",
                                                           "f*",
                                                           "B*",
                                                           "1 J",
                                                           "9 M",
                                                           "1 2 3 SCN",
                                                           "/A /B BDC EMC",
                                                           "1 2 /A scn",
                                                           "/A MP",
                                                           "S",
                                                           "s",
                                                           "b*"};
        return std::string(one(ways));
    }

    std::string content()
    {
        std::string all;
        for (size_t i = 0, operations = choose(8); i < operations; i++)
            all += strange() + (choose(8) == 7 ? string() + " Tj" : std::string(operation())) +
                   blank();
        return all;
    }

    std::string data()
    {
        constexpr std::array<std::string_view, 6> ways = {"",  "abc",           "\nend\nquit\n",
                                                          "(", " } bind def\n", "\x84\x92 quit\n"};
        return std::string(one(ways));
    }

    std::string counted(const std::string &bytes, const std::string &word)
    {
        constexpr std::array<std::string_view, 16> ends = {"\n", "\n", "\n",   "\n",  "\n", "\n",
                                                           "\n", "\n", "\n",   "\n",  "\n", "\n",
                                                           "\r", " ",  "\r\n", "\n\n"};
        return count(bytes.size()) + " " + word + std::string(one(ends)) + bytes +
               std::string(one(ends));
    }

    std::string function()
    {
        return "currentfile\n" + counted(choose(2) ? "\xFF\n" : "ab", "string readstring") +
               "pop\n20 dict begin\n/local-dict currentdict def\n/Sample exch def\n{\t//local-dict "
               "begin\n/_x exch def\n/_i _x dup " +
               number() + " ge {pop 1}{dup 0 le {pop 0}{-0 add " + number() +
               " div 1 mul } ifelse } ifelse def\n/xmin _i cvi def\n/xmax _i ceiling cvi def\n"
               "/f1 xmin xmax eq {{xmin f2}} {{ [ xmin f2 xmax f2 0 1 0 { dup 3 index exch get "
               "exch 3 index exch get _i xmin xmax 5 3 roll int 3 1 roll } for pop pop ] }} "
               "ifelse def\n/f2 {/px exch def [ 0 1 px limit 8 mul 1 { dup dup 7 and exch -3 "
               "bitshift //Sample exch get exch 0 sub bitshift 255 and exch 8 add } repeat pop ] "
               "} def\n/rnd { 256 mul 0.5 add floor 256 div } def\nf1 aload pop dup 255 ge {pop "
               "1} {dup 0 le {pop 0} {255 div 1 mul -0 sub } ifelse } ifelse rnd 1 1 roll " +
               strange() + " end } bind end\n";
    }

    std::string space()
    {
        switch (choose(8)) {
        case 0:
            return "/DeviceRGB /ColorSpace findRes ";
        case 1:
            return "/DeviceGray ";
        case 2:
            return "[/Indexed /DeviceRGB /ColorSpace findRes 1 <000000FFFFFF> ] ";
        case 3:
            return "[/Indexed /DeviceGray 1 <<\n/Length " + count(3) +
                   "\n>>\n2 SetIndexed\nabc\n] ";
        case 4:
            return "[ /Separation " + string() + " " + space() + function() + " ]\n";
        case 5:
            return "[ /CIEBasedABC << /WhitePoint [1 1 1] /DecodeLMN [ { 1 0.45 div exp } bind dup "
                   "dup ] >> ] ";
        case 6:
            return "[/Pattern] ";
        default:
            return "[/Pattern " + space() + "] ";
        }
    }

    std::string glyphs()
    {
        std::string all;
        for (size_t i = 0, glyphCount = choose(3); i < glyphCount; i++)
            all += name() + " { save\n" + (choose(2) ? "9 0 d0 " : "9 0 0 0 9 9 d1\n") + content() +
                   "\n restore }\n";
        return all;
    }

    std::string convertedFont()
    {
        std::string codes;
        for (int i = 0; i < 256; i++)
            codes += "/a ";
        std::string all =
            "/X \n%!PS-Adobe-3.0 Resource-Font\n%%BeginFont: X\n20 dict begin\n/FontType 3 "
            "def\n/FontName " +
            string() +
            " def\n/FontInfo 9 dict dup begin\n/italicAngle 0.0 def\n/underlineThickness 5 "
            "def\n/underlinePosition -7 def\n/isFixedPitch false def end def\n/FontMatrix [0.001 0 "
            "0 0.001 0 0] def\n/FontBBox [0 0 9 9] def\n/Encoding [" +
            codes + "% 0x0\n] def\n/CharProcs 2 dict def CharProcs begin\n";
        for (size_t i = 0, glyphCount = choose(3); i < glyphCount; i++)
            all += strange() + name() + " { % " + std::to_string(i) + " - 0x61" + strange() +
                   "\n9 0 0 0 9 9 setcachedevice\n" + number() + blank() + number() + " moveto\n" +
                   strange() + "fill\n } bind def" + strange() + "\n";
        return all + "end\n" + strange() +
               "/BuildGlyph {\nexch /CharProcs get exch\n2 copy known not {pop /.notdef} if \nget "
               "exec } bind def\n/BuildChar { 1 index /Encoding get exch get\n1 index /BuildGlyph "
               "get exec } bind def\ncurrentdict end definefont pop\n%%%%EndFont\n" +
               strange() + "<<\n/Name " + name() + "\n/BaseFont /X\n >> AdjFont\n";
    }

    std::string resource()
    {
        switch (choose(10)) {
        case 0:
            return counted(data(), "/dX ReadCount") +
                   "/X\n<<\n/ExternName (dX)\n/Width 2 \n/Height 1 \n/BitsPerComponent 8 "
                   "\n/ColorSpace " +
                   space() + "\n>>\nCallImage\n";
        case 1:
            return counted(content(), "/dX ReadContent") +
                   "/X\n<<\n/ExternName (dX)\n/BBox [ 0 0 9 9 ] \n>>\nCallForm\n";
        case 2:
            return name() + " <<\n/SA true\n/TR " + name() +
                   "\n/HT << /HalftoneType 1 /Frequency " + number() +
                   " /SpotFunction /Round /Function findRes >>\n>> /ExtGState defineRes pop\n";
        case 3:
            return name() + "\n" + space() + "/ColorSpace defineRes pop\n";
        case 4:
            return name() + " " + function() + "/Function defineRes pop\n";
        case 5:
            return name() +
                   "<<\n/FontType 3\n/FontMatrix [ 1 0 0 1 0 0 ] \n/FontBBox [ 0 0 1 1 ] \n"
                   "<<\n/Differences [ 65 /a ] \n>> T3AdjEnc\n/CharProcs <<\n/.notdef {250 0 "
                   "d0}\n" +
                   glyphs() + ">>\nT3DefFnct\n>> definefont pop\n";
        case 6:
            return "<<\n/Name " + name() + "\n/BaseFont /Helvetica\n/Widths [ " + number() +
                   " ]\n >> AdjFont\n";
        case 7:
            return string() + "\n" + counted(data(), "AppendCount") +
                   "<<\n/Subtype /Type1C\n>>\nExecType1C\n<<\n/Name /F1\n/BaseFont /X \n >> "
                   "AdjFont\n";
        case 8:
            return convertedFont();
        default:
            return name() + " 0 UseShared\n";
        }
    }

    std::string page()
    {
        std::string all;
        for (size_t i = 0, resources = choose(4); i < resources; i++)
            all += strange() + resource();
        std::string text = content();
        all += "0 0 200 200 PageClip\n0 0 translate\n0 rotate\n<< /Length " + count(text.size()) +
               " >>\nPageContents\n" + text + "\n";
        return all + strange();
    }

    const uint8_t *at, *end;
};

#endif
