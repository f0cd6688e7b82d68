/*
 * verify_test.cpp - what the verifier of sections accepts, and what it refuses
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "job/verify.h"
#include "tests/job/second_reading.h"

namespace {

using job::SectionKind;
using Texts = std::vector<std::string>;

job::Verdict verdictOn(const std::string &text, SectionKind kind = SectionKind::PAGE)
{
    job::Account account;
    job::Verdict verdict =
        job::verify(job::Bytes((const uint8_t *)text.data(), text.size()), kind, &account);
    SectionPart part = kind == SectionKind::PAGE     ? SectionPart::PAGE
                       : kind == SectionKind::SHARED ? SectionPart::SHARED
                                                     : SectionPart::DEFINITION;
    if (verdict.isAccepted()) {
        EXPECT_EQ(secondReading(text, part), "") << text.substr(0, 1000);
    }
    return verdict;
}

std::string repeated(const std::string &text, size_t count)
{
    std::string all;
    while (count-- > 0)
        all += text;
    return all;
}

std::string counted(const std::string &data, const std::string &word)
{
    return std::to_string(data.size()) + " " + word + "\n" + data + "\n";
}

const char PLACED[] = "0 0 200 200 PageClip\n0 0 translate\n0 rotate\n";

/* A page of these resources and this content. */
std::string pageOf(const std::string &resources, const std::string &content = "")
{
    return resources + PLACED + "<< /Length " + std::to_string(content.size()) +
           " >>\nPageContents\n" + content + "\n";
}

std::string contentPage(const std::string &content)
{
    return pageOf("", content);
}

std::string form(const std::string &content, const std::string &name = "Fm0",
                 const std::string &entries = "/BBox [ 0 0 9 9 ] \n")
{
    return counted(content, "/d" + name + " ReadContent") + "/" + name + "\n<<\n/ExternName (d" +
           name + ")\n" + entries + ">>\nCallForm\n";
}

std::string image(const std::string &entries, const std::string &name = "Im0")
{
    return counted("data", "/d" + name + " ReadCount") + "/" + name + "\n<<\n/ExternName (d" +
           name + ")\n" + entries + ">>\nCallImage\n";
}

const char GREY_IMAGE[] = "/Width 2 \n/Height 2 \n/BitsPerComponent 8 \n"
                          "/ColorSpace /DeviceGray /ColorSpace findRes\n";

std::string font(const std::string &entries)
{
    return "<<\n/Name /F1\n" + entries + " >> AdjFont\n";
}

std::string type3(const std::string &glyph, const std::string &name = "a")
{
    return "/T3 <<\n/FontType 3\n/FontMatrix [ 1 0 0 1 0 0 ] \n/FontBBox [ 0 0 9 9 ] \n<<\n"
           "/Differences [ 97 /a ] \n>> T3AdjEnc\n/CharProcs <<\n/.notdef {250 0 d0}\n/" +
           name + " { save\n" + glyph + " restore }\n>>\nT3DefFnct\n>> definefont pop\n";
}

/* The procedure of a sampled function of one input and one output, as the converter writes it. */
std::string function(const std::string &samples = "ab",
                     const std::string &fetched = "8 add } repeat")
{
    return "currentfile\n" + std::to_string(samples.size()) + " string readstring\n" + samples +
           "\npop\n20 dict begin\n/local-dict currentdict def\n/Sample exch def\n"
           "{\t//local-dict begin\n\t/_x exch def\n\t/_i _x \n\tdup 1 ge {pop 1}\n\t\t{dup 0 le "
           "{pop "
           "0}\n\t\t\t{-0 add 1 div 1 mul \n\t\t\t} ifelse\n\t\t} ifelse\n\tdef\n\t/xmin _i cvi "
           "def\n\t/xmax _i ceiling cvi def\n\t/f1\n\txmin xmax eq\n\t\t{{xmin f2}}\n\t\t{{\n\t\t[ "
           "xmin f2 xmax f2\n\t\t0 1 0 { dup 3 index exch get exch 3 index exch get\n\t\t\t_i xmin "
           "xmax 5 3 roll int\n\t\t3 1 roll } for pop pop ]\n\t\t}} ifelse\n\tdef\n\t/f2\n\t{/px "
           "exch "
           "def [\n\t 0 1 px limit 8 mul 1 { dup\ndup 7 and exch -3 bitshift\n         //Sample "
           "exch "
           "get exch 0 sub bitshift 255 and exch " +
           fetched +
           " pop ] } def\n\t/rnd { 256 mul 0.5 add floor 256 div } def\n\tf1 aload pop \n\tdup 255 "
           "ge {pop 1}\n\t\t{dup 0 le {pop 0}\n\t\t\t{255 div 1 mul -0 sub \n\t\t\t} ifelse\n\t\t} "
           "ifelse\n\trnd\n      1 1 roll\n\tend\n} bind end\n";
}

void expectAccepted(const std::string &text, SectionKind kind = SectionKind::PAGE)
{
    job::Verdict verdict = verdictOn(text, kind);
    EXPECT_TRUE(verdict.isAccepted()) << text.substr(0, 300) << "\nis refused at " << verdict.at
                                      << ": " << verdict.cause << verdict.surplus;
}

void expectRefused(const std::string &text, SectionKind kind = SectionKind::PAGE)
{
    EXPECT_FALSE(verdictOn(text, kind).cause.empty()) << text.substr(0, 300) << "\nis accepted";
}

/* ---- what the converter writes */

TEST(Verifier, AcceptsWhatAPageIsMadeOf)
{
    const Texts pages = {
        PLACED,
        std::string("0.5 0 0 0.500000 10 20 Place\n") + PLACED,
        contentPage("q 1 0 0 1 0 0 cm 0 0 m 1 -1 l 1. .5 +2 -.3 1 1 c h W* n 0 0 9 9 re f* Q"),
        contentPage(
            "BT /F1 12 Tf (a\\(b\\)(c)\\\\\\101\\n) Tj [(a) -2.5 <41>] TJ 0 0 (x) \" T* ET"),
        contentPage(
            "/Tag <</MCID 0 /T (x) /B [0 1] /N null>> BDC /MC0 /P DP EMC /CS0 cs .1 .2 scn"),
        contentPage("[ 1 2 ] 0 d [] 0 d /P SCN 1 2 3 4 /P1 scn"),
        contentPage("q BT ET") + "<< /Length 1 >>\nPageContents\nQ\n",
        pageOf(image(GREY_IMAGE), "/Im0 Do"),
        pageOf(image("/Width 1\n/Height 1\n/ImageMask true\n/Filter [ /ASCII85Decode "
                     "/FlateDecode ]\n/DecodeParms [ null << /Predictor 15 /Colors 3 >> ]\n"
                     "/Decode [ 1 0 ]\n")),
        pageOf("OpenResources\n" + image(GREY_IMAGE) + "CloseResources\n" + form("q /Im0 Do Q"),
               "/Fm0 Do"),
        pageOf(font("/BaseFont /Helvetica-Bold\n/Widths [ 0 250.5 1e+06 ]\n"
                    "/UseStandardEncoding true\n/BaseEncoding /WinAnsiEncoding\n"
                    "/Differences [ 65 /A /a.alt_1 ]\n")),
        pageOf("()\n" + counted("program", "AppendCount") +
               "<<\n/Subtype /Type1C \n/Length 7 \n>>\nExecType1C\n" + font("/BaseFont /X\n")),
        pageOf(type3("9 0 0 0 9 9 d1 0 0 9 9 re f")),
        pageOf("/GS0 <<\n/SA true\n/OP false \n/HT _defaulthalftone\n/TR /Identity\n"
               ">> /ExtGState defineRes pop\n"),
        pageOf("/GS0TR " + function() +
               "/Function defineRes pop\n/GS0 <<\n/TR /GS0TR\n>> /ExtGState defineRes pop\n"),
        pageOf("/X 3 UseShared\n") + "3 UseContents\n",
    };
    for (const std::string &page : pages)
        expectAccepted(page);
}

TEST(Verifier, AcceptsTheColourSpacesThatTheConverterWrites)
{
    const Texts spaces = {
        "/DeviceRGB /ColorSpace findRes\n",
        "/DeviceGray\n",
        "/Pattern\n",
        "",
        "[ /Pattern /CS1 /ColorSpace findRes\n ]\n",
        "[/Indexed /DeviceRGB /ColorSpace findRes\n1 (abc\\(ef) ]\n",
        "[/Indexed /DeviceRGB /ColorSpace findRes\n1 <<\n/Length 6 \n>>\n6 SetIndexed\n{(<%\\)\n "
        "]\n",
        "[ /Separation (Spot) /DeviceGray\n" + function() + " ]\n",
        "[/CIEBasedA <<\n/WhitePoint [ 1 1 1 ] \n/MatrixA [0.9505 1 1.089]\n/DecodeA {1 0.45 div "
        "exp} bind\n/RangeLMN [0 0.9505 0 1 0 1.089]\n>> ]\n",
        "[/CIEBasedABC <<\n/MatrixLMN [ 1 0 0 0 1 0 0 0 1 ] /DecodeLMN [{1 0.45 div exp} bind dup "
        "dup]\n/WhitePoint [ 1 1 1 ] \n>> ]\n",
        "[/CIEBasedABC <<\n/RangeABC [0 100 -100 100 -100 100]\n/WhitePoint [ 1 1 1 ] \n/DecodeABC "
        "[{16 add 116 div} bind {500 div} bind {200 div} bind]\n/MatrixABC [1 1 1 1 0 0 0 0 -1]\n"
        "/DecodeLMN\n[{dup 6 29 div ge {dup dup mul mul}\n{4 29 div sub 108 841 div mul} ifelse "
        "0.9505 mul} bind\n{dup 6 29 div ge {dup dup mul mul}\n{4 29 div sub 108 841 div mul} "
        "ifelse} bind\n{dup 6 29 div ge {dup dup mul mul}\n{4 29 div sub 108 841 div mul} ifelse "
        "1.089 mul} bind]\n>> ]\n",
    };
    for (const std::string &space : spaces)
        expectAccepted(pageOf("/CS0\n" + space + "/ColorSpace defineRes pop\n"));
}

TEST(Verifier, AcceptsWhatPagesShare)
{
    std::string part = form("0 0 9 9 re f", "S0");
    std::string contents =
        counted("q", "/CS1 ReadContent") + "/S1 << /ExternName (CS1)\n>> CallForm\n";
    std::string shared = "0 " + std::to_string(part.size()) + "\n" + part + "1 " +
                         std::to_string(contents.size()) + "\n" + contents + "2 0\n";
    expectAccepted(shared, SectionKind::SHARED);
    expectAccepted(part, SectionKind::PART);
    expectAccepted("", SectionKind::PART);
    expectRefused("0 " + std::to_string(part.size() - 2) + "\n" + part, SectionKind::SHARED);
    expectRefused("0 " + std::to_string(part.size() + 1) + "\n" + part, SectionKind::SHARED);
    expectRefused("OpenResources\nCloseResources\n" + part, SectionKind::PART);
    expectRefused(PLACED, SectionKind::PART);
}

/* ---- tokens */

TEST(Verifier, RefusesEveryObjectForWhichContentHasNoUse)
{
    const Texts contents = {
        "{ }",
        "{ quit }",
        "//systemdict",
        "//q",
        "(a) cvx exec",
        "<~9jqo^~>",
        "<~",
        "16#FF w",
        "8#777 w",
        "% comment\n1 w",
        "1 w %",
        "quit",
        "currentfile",
        "restore",
        "save",
        "exec",
        "stop",
        "[ q ] 0 d",
        "[ /a ] 0 d",
        "[ [ ] ] 0 d",
        "[ { } ] 0 d",
        "<< /a 1 >>",
        "<< /a 1",
        "/A << /B << /C 1 >> >> BDC",
        "/A << /B q >> BDC",
        "/A << 1 2 >> BDC",
        "/A << /B >> BDC",
        ">>",
        "<<",
        "[",
        "]",
        ")",
        ">",
        "}",
        "{",
        "(a",
        "<41",
        "<4g> Tj",
        "\x80 1 w",
        "1 \x9f w",
        "1\x8a w",
        "(a) Tj\xff",
        "\x01 1 w",
        "BI /W 1 /H 1 ID x EI",
        "ID",
        "EI",
        "true",
        "null",
        "1 w true",
        "d0",
        "1 0 d0",
        "0 0 0 0 9 9 d1",
    };
    for (const std::string &content : contents)
        expectRefused(contentPage(content));
}

TEST(Verifier, ACommentThatAFormFeedOrALineEndEndsIsNoWayIn)
{
    for (const char *end : {"\f", "\r", "\n", "\r\n", "\0"})
        expectRefused(contentPage("1 w % harmless" + std::string(end, 1) + "quit"));
    expectRefused(pageOf("%%BeginResource\f quit\n"));
}

TEST(Verifier, NumbersAreThoseOfTheLanguage)
{
    for (const char *number :
         {"0", "-1", "+1", "1.", ".5", "-.5", "00012", "-0.0", "99999999999999999999999999999999"})
        expectAccepted(contentPage(std::string(number) + " w"));
    for (const char *number :
         {"--1", "1-2", "1.2.3", ".", "-", "+", "-.", "1e5", "1E-3", "1,5", "0x10", "2#101", "1a",
          "999999999999999999999999999999999", "inf", "nan", "1_0"})
        expectRefused(contentPage(std::string(number) + " w"));
    expectRefused(pageOf(font("/Widths [ 1e39 ]\n")));
    expectRefused(pageOf(font("/Widths [ nan ]\n")));
    expectRefused(pageOf(font("/Widths [ -inf ]\n")));
}

TEST(Verifier, NamesArePlainAndOfBoundedLength)
{
    expectAccepted(contentPage("/" + std::string(64, 'x') + " gs"));
    expectRefused(contentPage("/" + std::string(65, 'x') + " gs"));
    expectAccepted(contentPage("/aZ09.+_- gs"));
    for (const char *name : {"/", "/a#20b", "/a!b", "/a\x80", "/a\xe9", "/a,b", "/a*", "/a'", "//a",
                             "/a/", "/$a", "/a:b", "/a\x7f"})
        expectRefused(contentPage(std::string(name) + " gs"));
    expectAccepted(pageOf("/" + std::string(64, 'x') + " 1 UseShared\n"));
    expectRefused(pageOf("/" + std::string(65, 'x') + " 1 UseShared\n"));
    expectAccepted(pageOf(font("/BaseFont /" + std::string(127, 'x') + "\n")));
    expectRefused(pageOf(font("/BaseFont /" + std::string(128, 'x') + "\n")));
    expectAccepted(pageOf(type3("1 0 d0", std::string(127, 'x'))));
    expectRefused(pageOf(type3("1 0 d0", std::string(128, 'x'))));
}

TEST(Verifier, StringsEndWhereTheyEndForEveryInterpreter)
{
    for (const char *text : {"(\\)) Tj", "(()) Tj", "(\\\\) Tj", "(a\\\rb) Tj", "(a\\\r\nb) Tj",
                             "(a\rb\nc\r\nd) Tj", "(\\0\\12\\1234) Tj", "<> Tj", "<4 1\n> Tj"})
        expectAccepted(contentPage(text));
    for (const char *text : {"(\\) Tj", "(() Tj", "()) Tj", "(\\\\\\) Tj", "(\\8) Tj", "(\\q) Tj",
                             "(\\", "<41 Tj", "<(> Tj"})
        expectRefused(contentPage(text));
    std::string zero("(a\0) quit (b) Tj", 16);
    expectRefused(contentPage(zero));
    expectAccepted(contentPage(std::string("(a\0b) Tj", 8)));
    std::string high = "(";
    for (int byte = 128; byte < 256; byte++)
        high += (char)byte;
    expectAccepted(contentPage(high + ") Tj"));
}

TEST(Verifier, StringsAndArraysKeepTheLimitOfInterpreters)
{
    expectAccepted(contentPage("(" + std::string(65535, 'x') + ") Tj"));
    expectRefused(contentPage("(" + std::string(65536, 'x') + ") Tj"));
    expectAccepted(contentPage("(" + repeated("\\101", 65535) + ") Tj"));
    expectRefused(contentPage("(" + repeated("\\101", 65536) + ") Tj"));
    expectAccepted(contentPage("<" + std::string(131070, '0') + "> Tj"));
    expectRefused(contentPage("<" + std::string(131071, '0') + "> Tj"));
    expectAccepted(contentPage("[" + repeated("1 ", 65535) + "] 0 d"));
    expectRefused(contentPage("[" + repeated("1 ", 65536) + "] 0 d"));
    expectAccepted(
        pageOf("/GS0TR " + function(std::string(65535, 'x')) + "/Function defineRes pop\n"));
    expectRefused(
        pageOf("/GS0TR " + function(std::string(65536, 'x')) + "/Function defineRes pop\n"));
}

/* ---- content */

TEST(Verifier, EveryOperatorHasItsOperands)
{
    for (const char *content : {"w",
                                "1 2 w",
                                "(a) w",
                                "/a w",
                                "1 cm",
                                "1 2 3 4 5 cm",
                                "1 2 3 4 5 6 7 cm",
                                "1 m",
                                "1 Do",
                                "(a) Do",
                                "/F1 Tf",
                                "12 /F1 Tf",
                                "1 Tj",
                                "[(a)] Tj",
                                "(a) TJ",
                                "/a TJ",
                                "0 [1] d",
                                "[(a)] 0 d",
                                "1 q",
                                "1 BT",
                                "1 g 1",
                                "(a) 1 1 \"",
                                "/a sc 1",
                                "sc",
                                "scn",
                                "(a) scn",
                                "/a 1 scn",
                                "1 /a /b scn",
                                "/a BDC",
                                "/a 1 BDC",
                                "1 re",
                                "1 2 3 re",
                                "/P"})
        expectRefused(contentPage(content));
    expectAccepted(contentPage(repeated("1 ", 32) + "/P scn"));
    expectRefused(contentPage(repeated("1 ", 40) + "scn"));
    expectRefused(contentPage(repeated("1 ", 100) + "w"));
}

TEST(Verifier, NamesAndGlyphsAreBounded)
{
    std::string few, many;
    for (int i = 0; i < 66000; i++) {
        (i < 60000 ? few : many) += "/N" + std::to_string(i) + " Do ";
    }
    expectAccepted(contentPage(few));
    expectRefused(contentPage(few + many));
    expectAccepted(pageOf(type3("1 0 d0 " + repeated("q ", 400) + repeated("Q ", 400))));
    expectRefused(pageOf(type3("1 0 d0 " + repeated("n ", 65535))));
}

TEST(Verifier, StatesAndTextAreBalanced)
{
    expectAccepted(contentPage(repeated("q ", 500) + repeated("Q ", 500)));
    expectRefused(contentPage(repeated("q ", 501) + repeated("Q ", 501)));
    for (const char *content :
         {"Q", "q", "q Q Q", "q q Q", "Q q", "BT", "ET", "BT BT ET ET", "ET BT", "BT ET ET"})
        expectRefused(contentPage(content));
    for (const char *content : {"Q", "q", "Q q", "BT", "ET"})
        expectRefused(pageOf(form(content)));
    expectRefused(pageOf(form("q"), "Q"));
    expectRefused(pageOf(type3("1 0 d0 q")));
}

TEST(Verifier, AGlyphBeginsWithItsWidth)
{
    expectAccepted(pageOf(type3("1 0 d0")));
    expectAccepted(pageOf(type3("")));
    expectAccepted(pageOf(type3("1 0 0 0 9 9 d1 q Q")));
    for (const char *glyph :
         {"q Q", "1 0 d0 1 0 d0", "1 d0", "0 g 1 0 d0", "{ } 1 0 d0", "1 0 d0 ( restore }) Tj",
          "1 0 d0 [( restore }\n>>)] TJ", "1 0 d0 /T << /A ( restore }) >> BDC"})
        expectRefused(pageOf(type3(glyph)));
}

/* ---- resources */

TEST(Verifier, ANameThatIsARunOfTokensIsRefused)
{
    for (const char *name : {"X quit", "X 1 UseShared quit", "X(", "X{quit}", "X<<", "X exec", "X[",
                             "X/systemdict", "X%"}) {
        expectRefused(pageOf(image(GREY_IMAGE, name)));
        expectRefused(pageOf("/" + std::string(name) + " 1 UseShared\n"));
        expectRefused(pageOf("/" + std::string(name) + " <<\n>> /ExtGState defineRes pop\n"));
        expectRefused(pageOf(font("/BaseFont /" + std::string(name) + "\n")));
    }
}

TEST(Verifier, KeysOfParametersAreKnown)
{
    for (const char *entry : {"/Quality 65", "/K quit", "/K (a)", "/K 0 quit", "/K currentfile",
                              "/K systemdict /x", "/K {quit}", "/X 1", "/Predictor 99", "/Colors 0",
                              "/K 1 /K 1", "/Columns 1.5", "/BlackIs1 1", "/K 1 exec"})
        expectRefused(
            pageOf(image(std::string(GREY_IMAGE) + "/DecodeParms <<\n" + entry + "\n>>\n")));
    expectRefused(pageOf(image(std::string(GREY_IMAGE) + "/DecodeParms << /K 1 >> >>\n")));
    expectRefused(pageOf(image(std::string(GREY_IMAGE) + "/DecodeParms << /K 1\n")));
    expectRefused(pageOf(image(std::string(GREY_IMAGE) + "/Filter /JBIG2Decode\n")));
    expectRefused(pageOf(image(std::string(GREY_IMAGE) + "/Filter [ /FlateDecode quit ]\n")));
}

TEST(Verifier, DictionariesHoldKnownKeysOfTheirTypes)
{
    for (const char *entries :
         {"/Width 2\n", "/Width 0 /Height 1\n", "/Width 2 /Height 2000000\n",
          "/Width -2 /Height 2\n", "/Width 2.5 /Height 2\n",
          "/Width 2 /Height 2 /BitsPerComponent 3\n", "/Width 2 /Height 2 /BitsPerComponent 16\n",
          "/Width 2 /Height 2 /ImageMask true /BitsPerComponent 8\n",
          "/Width 2 /Height 2 /DataSource currentfile\n", "/Width 2 /Height 2 /Decode [ 1 a ]\n",
          "/Width 2 /Height 2 /ColorSpace /NoFamily\n", "/Width 2 /Height 2 /Width 2\n"})
        expectRefused(pageOf(image(entries)));
    expectRefused(pageOf("/GS0 <<\n/Font [ /F1 1 ]\n>> /ExtGState defineRes pop\n"));
    expectRefused(pageOf("/GS0 <<\n/TR {quit}\n>> /ExtGState defineRes pop\n"));
    expectRefused(pageOf(form("", "Fm0", "/BBox [ 0 0 9 ]\n")));
    expectRefused(pageOf(form("", "Fm0", "/Filter /FlateDecode\n")));
    expectRefused(pageOf(font("/Differences [ (a) ]\n")));
    expectRefused(pageOf(font("/CharProcs currentdict def\n")));
    expectRefused(pageOf(font("/CharStrings 1\n")));
}

TEST(Verifier, ProceduresAreTheConvertersOwn)
{
    auto transfer = [](const std::string &text) {
        return pageOf("/GS0TR " + text + "/Function defineRes pop\n");
    };
    expectAccepted(transfer(function()));
    std::string good = function();
    for (const char *piece : {"exch", "8 mul", "//Sample", "//local-dict", "{xmin f2}", "rnd\n",
                              "floor", "px limit", "255 and", "bind end"}) {
        for (const char *other : {"quit", "exec", "{quit}", "(a)", "//systemdict", "[ ]"}) {
            std::string bad = good;
            bad.replace(bad.find(piece), std::string(piece).size(), other);
            expectRefused(transfer(bad));
        }
    }
    expectRefused(transfer(function("ab", "8 add } repeat quit")));
    expectRefused(transfer("{ quit }\n"));
    expectRefused(
        transfer("currentfile\n<<\n/Filter /FlateDecode\n>> begin SetFilter end\n2 string "
                 "readstring\nab\npop\n"));
    expectRefused(
        pageOf("/CS0\n[/CIEBasedA <<\n/MatrixA [0.9505 1 1.089]\n/DecodeA {quit} bind\n>> "
               "]\n/ColorSpace defineRes pop\n"));
    expectRefused(pageOf("/CS0\n[ /Separation (Spot) /DeviceGray\n{ } ]\n/ColorSpace defineRes "
                         "pop\n"));
}

/* A converted font with these glyphs, as far as its end. */
std::string convertedFont(const std::string &glyphs)
{
    return "/X \n%!PS-Adobe-3.0 Resource-Font\n%%BeginFont: X\n20 dict begin\n/FontType 3 "
           "def\n/FontInfo 9 dict dup begin\n/italicAngle 0.0 def\n/underlineThickness 5 def\n"
           "/underlinePosition -7 def\n/isFixedPitch false def end def\n/FontMatrix [0.001 0 0 "
           "0.001 0 0] def\n/FontBBox [0 0 9 9] def\n/Encoding [" +
           repeated("/a ", 256) + "% 0x0\n] def\n/CharProcs 2 dict def CharProcs begin\n" + glyphs;
}

constexpr char CONVERTED_ENDS[] =
    "/BuildGlyph {\nexch /CharProcs get exch\n2 copy known not {pop /.notdef} if \nget exec } "
    "bind def\n/BuildChar { 1 index /Encoding get exch get\n1 index /BuildGlyph get exec } bind "
    "def\ncurrentdict end definefont pop\n%%%%EndFont\n";

/* The runtime reads them by their lines, up to the line "end": what it takes for data must not go
 * on where the verifier sees other text. */
TEST(Verifier, GlyphsOfAConvertedFontStandInTheLinesThatTheRuntimeReads)
{
    const std::string begin = "/a { % 1 - 0x61\n", path = "9 0 0 0 9 9 setcachedevice\nfill\n";
    auto accepts = [](const std::string &glyphs) {
        std::string hidden = counted("\nend\nquit\n", "/dX ReadCount") +
                             "/X << /ExternName (dX) /Width 1 /Height 1 >> CallImage\n";
        return verdictOn(convertedFont(glyphs) + CONVERTED_ENDS + hidden, SectionKind::PART)
            .isAccepted();
    };
    ASSERT_TRUE(accepts(begin + path + " } bind def\nend\n"));
    for (const std::string &glyphs :
         {begin + path + " } bind def end\n", begin + path + " } bind def\nend ",
          begin + path + " } bind def\n end\n", begin + path + "} bind def\nend\n",
          begin + path + " } bind  def\nend\n", begin + path + " } bind def \nend\n",
          begin + path + " }\nbind def\nend\n", "/a { " + path + " } bind def\nend\n",
          "/a {\n% 1 - 0x61\n" + path + " } bind def\nend\n",
          "/a\n{ % 1 - 0x61\n" + path + " } bind def\nend\n",
          begin + path + " } bind def\n% 2\nend\n", "% 2\n" + begin + path + " } bind def\nend\n",
          " " + begin + path + " } bind def\nend\n", std::string("end % 1\n")})
        EXPECT_FALSE(accepts(glyphs)) << glyphs;
}

TEST(Verifier, OnlyTheWordsOfPageDescriptionsAreCalled)
{
    for (const char *text :
         {"quit\n",
          "currentdict\n",
          "/CharProcs currentdict def\n",
          "systemdict begin\n",
          "/x 1 def\n",
          "userdict /x 1 put\n",
          "20 dict begin\n",
          "/X findRes\n",
          "pop\n",
          "<< >> setpagedevice\n",
          "showpage\n",
          "1 AppendCount\nx\nExecFontFile\n",
          "1 /dIm0 AddCreatedFile ReadCount\nx\n",
          "/X (n) (r) file\n",
          "EndPageDescription\n",
          "OpenResources OpenResources CloseResources CloseResources CloseResources\n",
          "true\n",
          "CloseResources\n",
          "mark\n",
          "[ ]\n",
          "<< >>\n",
          "{ }\n",
          "(a)\n",
          "/a\n",
          "1\n",
          "//X 1 UseShared\n",
          "1.5 /dIm0 ReadCount\nx\n",
          "/X -1 exec\n"})
        expectRefused(pageOf(text));
}

TEST(Verifier, ThresholdsAreDataOfTheirHalftone)
{
    auto state = [](const std::string &data) {
        return pageOf("/G <<\n/HT << /HalftoneType 6 \n/Width 2 \n/Height 2 \n" + data +
                      ">> \n>> /ExtGState defineRes pop\n");
    };
    const std::string data = counted("(>%{", "/GHalftone AddCreatedFile ReadCount");
    const std::string ending = "(r) file <<\n>> begin SetFilter end\n";
    expectAccepted(state(data + "/Thresholds (GHalftone) " + ending));
    expectRefused(state(data + "/Thresholds (Other) " + ending));
    expectRefused(state(data + "/Thresholds (GHalftone) (w) file <<\n>> begin SetFilter end\n"));
    expectRefused(state(data +
                        "/Thresholds (GHalftone) (r) file <<\n/Filter /FlateDecode\n>> begin "
                        "SetFilter end\n"));
    expectRefused(state(data));
    expectRefused(state("/Thresholds (%stdin) " + ending));
}

/* ---- data */

TEST(Verifier, CountedDataIsNotReadAndItsCountDoesNotLie)
{
    std::string hostile = "quit { >> (";
    std::string picture = counted(hostile, "/dIm0 ReadCount") + "/Im0\n<<\n/ExternName (dIm0)\n" +
                          GREY_IMAGE + ">>\nCallImage\n";
    expectAccepted(pageOf(picture));
    for (const char *count : {"10", "12", "0", "-1", "99999999", "4294967296", "1e3"}) {
        std::string lie = picture;
        lie.replace(0, 2, count);
        expectRefused(pageOf(lie));
    }
    expectRefused(std::string(PLACED) + "<< /Length 2 >>\nPageContents\nq\n");
    expectRefused(std::string(PLACED) + "<< /Length 0 >>\nPageContents\nq\n\n");
    expectRefused(std::string(PLACED) + "<< /Length 1 >>\nPageContents q\n");
    expectRefused(std::string(PLACED) + "<< /Length 1 >>\nPageContents\r\nq\n");
    expectRefused(std::string(PLACED) + "<< /Filter /FlateDecode /Length 1 >>\nPageContents\nq\n");
}

TEST(Verifier, ATokenDoesNotGoOnBehindItsCount)
{
    /* The content ends within a string, whose rest would be read as text of the section. */
    expectRefused(std::string(PLACED) + "<< /Length 2 >>\nPageContents\n(a\n) quit\n");
    expectRefused(std::string(PLACED) + "<< /Length 1 >>\nPageContents\nf*\n");
}

TEST(Verifier, AFormIsContentAndAPictureIsData)
{
    std::string asData = form("quit");
    asData.replace(asData.find("ReadContent"), 11, "ReadCount");
    expectRefused(pageOf(asData));
    expectRefused(pageOf(form("quit")));
    std::string asContent = image(GREY_IMAGE);
    asContent.replace(asContent.find("ReadCount"), 9, "ReadContent");
    expectRefused(pageOf(asContent));
}

TEST(Verifier, DataBelongsToTheDefinitionBehindIt)
{
    std::string picture = image(GREY_IMAGE);
    std::string foreign = form("q Q");
    foreign.replace(foreign.find("(dFm0)"), 6, "(dIm0)");
    expectRefused(pageOf(picture + foreign));
    expectRefused(pageOf(picture.substr(0, picture.find("/Im0\n"))) + "/Im0 << >> CallForm\n");
    expectRefused(pageOf("/Im0\n<<\n/ExternName (dIm0)\n>>\nCallForm\n"));
}

TEST(Verifier, ResourcesStandInFrontOfContentAndContentInItsPlace)
{
    expectRefused(contentPage("") + font("/BaseFont /X\n"));
    expectRefused(contentPage("") + image(GREY_IMAGE));
    expectRefused(contentPage("") + "/X 1 UseShared\n");
    expectRefused("<< /Length 1 >>\nPageContents\nq\n" + std::string(PLACED));
    expectRefused(std::string(PLACED) + PLACED);
    expectRefused("0 0 translate\n0 rotate\n");
    expectRefused("0 0 9 PageClip\n0 0 translate\n0 rotate\n");
    expectRefused(std::string(PLACED) + "1 2 UseContents\n");
}

/* Text is the same to the verifier wherever it lies. */
TEST(Verifier, ReadsTheSameFromATemporaryFile)
{
    std::string large = image(GREY_IMAGE);
    std::string bulk(5 << 20, 'x');
    large = counted(bulk, "/dIm1 ReadCount") + "/Im1\n<<\n/ExternName (dIm1)\n" + GREY_IMAGE +
            ">>\nCallImage\n" + large;
    std::string content = repeated("BT (a(b)c\\) ) Tj ET 0 0 m 1.5 2 l S ", 200000);
    for (bool isBad : {false, true}) {
        std::string text = pageOf(large, content + (isBad ? "quit" : ""));
        job::Spool spool;
        for (size_t at = 0; at < text.size(); at += 100003)
            spool.write(job::Bytes((const uint8_t *)text.data() + at,
                                   std::min<size_t>(100003, text.size() - at)));
        ASSERT_FALSE(spool.isInMemory());
        job::Account account;
        job::Verdict verdict = job::verify(&spool, SectionKind::PAGE, &account);
        EXPECT_EQ(verdict.isAccepted(), !isBad) << verdict.cause << " at " << verdict.at;
        EXPECT_EQ(verdict.at, verdictOn(text).at);
    }
}

/* ---- what a page costs */

std::string surplusOf(const std::string &text)
{
    job::Verdict verdict = verdictOn(text);
    EXPECT_EQ(verdict.cause, "");
    return verdict.surplus;
}

/* Forms that call each other ten times each, so many levels of them. */
std::string nestedForms(int levels, const std::string &innermost)
{
    std::string text = form(innermost, "L0");
    for (int level = 1; level <= levels; level++)
        text = "OpenResources\n" + text + "CloseResources\n" +
               form(repeated("/L" + std::to_string(level - 1) + " Do ", 10),
                    "L" + std::to_string(level));
    return text;
}

TEST(VerifierBudget, CallsOfFormsMultiplyAlongTheirNesting)
{
    EXPECT_EQ(surplusOf(pageOf(nestedForms(5, ""), "/L5 Do")), "");
    EXPECT_EQ(surplusOf(pageOf(nestedForms(6, ""), "/L6 Do")), "200000 calls of forms");
    EXPECT_EQ(surplusOf(pageOf(nestedForms(6, ""))), "") << "nothing of it is drawn";
    EXPECT_EQ(surplusOf(pageOf(nestedForms(4, repeated("q Q ", 1000)), "/L4 Do /L4 Do")),
              "20000000 operators");
}

TEST(VerifierBudget, AFormThatCallsItselfEnds)
{
    EXPECT_EQ(surplusOf(pageOf(form("/Fm0 Do /Fm0 Do"), "/Fm0 Do")), "");
}

TEST(VerifierBudget, CharactersAndTheGlyphsThatAreDrawnForThem)
{
    std::string text =
        "BT /T3 1 Tf " + repeated("(" + std::string(50000, 'a') + ") Tj ", 20) + "ET ";
    EXPECT_EQ(surplusOf(pageOf(type3("1 0 d0"), text)), "");
    EXPECT_EQ(surplusOf(pageOf(type3("1 0 d0"), "q " + text + text + text + " Q")),
              "2000000 characters");
    std::string glyph = "1 0 d0 " + repeated("0 g ", 30);
    EXPECT_EQ(surplusOf(pageOf(type3(glyph), text)), "20000000 operators");
    /* A form without a font has its caller's. */
    std::string shown = text.substr(sizeof "BT /T3 1 Tf" - 1);
    EXPECT_EQ(surplusOf(pageOf(type3(glyph) + form("BT" + shown), "/T3 1 Tf /Fm0 Do")),
              "20000000 operators");
}

TEST(VerifierBudget, GraphicsStatesThatAreDearToSet)
{
    auto state = [](const std::string &entries) {
        return "/G <<\n" + entries + ">> /ExtGState defineRes pop\n";
    };
    auto surplus = [&](const std::string &entries, size_t times) {
        return surplusOf(pageOf(state(entries), repeated("/G gs ", times)));
    };
    const std::string halftone = "/HT <<\n/HalftoneType 1 \n/Frequency 5 \n/Angle 0 \n"
                                 "/SpotFunction /Fn /Function findRes\n>>\n";
    EXPECT_EQ(surplus("/HT _defaulthalftone\n/TR /Identity\n/SA true\n", 100000), "");
    EXPECT_EQ(surplus(halftone, 600), "");
    EXPECT_EQ(surplus(halftone, 700), "20000000 operators");
    EXPECT_EQ(surplus("/TR /Fn\n", 19000), "");
    EXPECT_EQ(surplus("/TR /Fn\n", 21000), "20000000 operators");
    EXPECT_EQ(surplusOf(pageOf(state(halftone) + form(repeated("/G gs ", 100), "F"),
                               repeated("/F Do ", 7))),
              "20000000 operators")
        << "a form finds it where it is called";
    EXPECT_EQ(surplusOf(pageOf(state(halftone), repeated("/H gs ", 5000))), "")
        << "another name is another state";
}

TEST(VerifierBudget, PiecesOfPaths)
{
    std::string line = "1 1 l ";
    EXPECT_EQ(surplusOf(contentPage("0 0 m " + repeated(line, 999999) + "S")), "");
    EXPECT_EQ(surplusOf(contentPage("0 0 m " + repeated(line, 1000000) + "S")),
              "1000000 pieces of one path");
    EXPECT_EQ(surplusOf(contentPage(repeated("0 0 m " + repeated(line, 900000) + "S ", 12))),
              "10000000 pieces of lines and curves");
}

TEST(VerifierBudget, PicturesCountEachTimeTheyAreDrawn)
{
    std::string large =
        image("/Width 20000\n/Height 10000\n/BitsPerComponent 1\n/ImageMask true\n");
    EXPECT_EQ(surplusOf(pageOf(large, repeated("/Im0 Do ", 10))), "");
    EXPECT_EQ(surplusOf(pageOf(large, repeated("/Im0 Do ", 11))), "2000000000 pixels of pictures");
    std::string deep = image("/Width 10000\n/Height 10000\n/BitsPerComponent 8\n"
                             "/ColorSpace /DeviceCMYK /ColorSpace findRes\n");
    EXPECT_EQ(surplusOf(pageOf(deep, repeated("/Im0 Do ", 2))), "");
    EXPECT_EQ(surplusOf(pageOf(deep, repeated("/Im0 Do ", 3))),
              "1073741824 bytes of pictures and content");
}

TEST(VerifierBudget, WhatPagesShareCountsOnThePageThatUsesIt)
{
    job::Account account;
    auto verdict = [&](const std::string &text, SectionKind kind) {
        return job::verify(job::Bytes((const uint8_t *)text.data(), text.size()), kind, &account);
    };
    std::string part = form(repeated("q Q ", 100000), "S0");
    std::string shared = "0 " + std::to_string(part.size()) + "\n" + part;
    EXPECT_TRUE(verdict(shared, SectionKind::SHARED).isAccepted());
    std::string use = "/X 0 UseShared\n";
    EXPECT_TRUE(verdict(pageOf(use, repeated("/X Do ", 90)), SectionKind::PAGE).isAccepted());
    EXPECT_EQ(verdict(pageOf(use, repeated("/X Do ", 110)), SectionKind::PAGE).surplus,
              "20000000 operators");
    EXPECT_TRUE(verdict(pageOf(use, "/X Do"), SectionKind::PAGE).isAccepted())
        << "each page counts from nothing";
}

TEST(VerifierBudget, AFormIsNoContentOfAPage)
{
    job::Account account;
    auto verdict = [&](const std::string &text, SectionKind kind) {
        return job::verify(job::Bytes((const uint8_t *)text.data(), text.size()), kind, &account);
    };
    std::string part = form("q Q", "S0");
    EXPECT_TRUE(verdict("0 " + std::to_string(part.size()) + "\n" + part, SectionKind::SHARED)
                    .isAccepted());
    EXPECT_TRUE(verdict("/X 0 UseShared\n" + std::string(PLACED), SectionKind::PAGE).isAccepted());
    EXPECT_FALSE(verdict(PLACED + std::string("0 UseContents\n"), SectionKind::PAGE).isAccepted());
    std::string own = counted("q Q", "/CX ReadContent") + "/X << /ExternName (CX)\n>> CallForm\n";
    expectRefused(pageOf(own));
}

TEST(VerifierBudget, SharedContentsMayOpenWhatAnotherPieceCloses)
{
    job::Account account;
    auto verdict = [&](const std::string &text, SectionKind kind) {
        return job::verify(job::Bytes((const uint8_t *)text.data(), text.size()), kind, &account);
    };
    auto contents = [](int number, const std::string &content) {
        std::string digits = std::to_string(number);
        std::string part = counted(content, "/CS" + digits + " ReadContent") + "/S" + digits +
                           " << /ExternName (CS" + digits + ")\n>> CallForm\n";
        return digits + " " + std::to_string(part.size()) + "\n" + part;
    };
    EXPECT_TRUE(
        verdict(contents(0, "q") + contents(1, "Q") + contents(2, "Q q"), SectionKind::SHARED)
            .isAccepted());
    std::string placed = PLACED;
    auto isAccepted = [&](const std::string &uses) {
        return verdict(placed + uses, SectionKind::PAGE).isAccepted();
    };
    EXPECT_TRUE(isAccepted("0 UseContents\n1 UseContents\n"));
    EXPECT_TRUE(isAccepted("0 UseContents\n2 UseContents\n1 UseContents\n"));
    EXPECT_FALSE(isAccepted("1 UseContents\n0 UseContents\n"));
    EXPECT_FALSE(isAccepted("2 UseContents\n"));
    EXPECT_FALSE(isAccepted("0 UseContents\n"));
    EXPECT_FALSE(verdict("/X 0 UseShared\n" + placed, SectionKind::PAGE).isAccepted())
        << "content is no resource";
    std::string uses;
    for (int i = 0; i < 501; i++)
        uses += "0 UseContents\n";
    EXPECT_EQ(verdict(placed + uses, SectionKind::PAGE).cause, "states are saved too deep");
}

TEST(VerifierBudget, AFactorScalesTheLimits)
{
    job::Account account(2);
    std::string text = pageOf(nestedForms(6, ""), "/L6 Do");
    job::Verdict verdict = job::verify(job::Bytes((const uint8_t *)text.data(), text.size()),
                                       SectionKind::PAGE, &account);
    EXPECT_EQ(verdict.surplus, "400000 calls of forms");
    job::Account patient(10);
    EXPECT_TRUE(job::verify(job::Bytes((const uint8_t *)text.data(), text.size()),
                            SectionKind::PAGE, &patient)
                    .isAccepted());
}

} // namespace
