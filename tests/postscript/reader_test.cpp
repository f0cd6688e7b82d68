/*
 * reader_test.cpp - damaged and hostile page descriptions: nothing runs, what can be printed is,
 * and the next page is not affected
 */
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "tests/postscript/page_set.h"
#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"

namespace {

using Lines = std::vector<std::string>;

const std::string BOX = "1 0 0 rg 40 40 120 60 re f ";

/* A job whose pages must not touch the marker. */
PrintOptions guarded()
{
    PrintOptions options;
    options.strict = false;
    options.before = "userdict /Marker 0 put\n";
    return options;
}

/* Was the marker touched?  The last page asks, since nothing runs behind the document. */
const std::string ASK_MARKER = R"(
/EndPageDescription [
    { userdict /Marker get 0 ne { (MARKER ) print } if } /exec load
    /EndPageDescription load /exec load
] cvx def
)";

/* The picture of one page of content. */
Picture pictureOf(const std::string &content)
{
    return renderPdf(onePagePdf(content), PrintOptions().dpi).at(0);
}

void expectPage(const PrintedJob &job, size_t page, const std::string &content)
{
    ASSERT_GT(job.pages.size(), page);
    PictureDifference d = comparePictures(job.pages[page], pictureOf(content));
    EXPECT_TRUE(isRight(d)) << "page " << page + 1 << ": " << describe(d);
}

void expectUntouched(const PrintedJob &job)
{
    EXPECT_EQ(job.status, 0);
    for (const std::string &line : job.lines) {
        EXPECT_EQ(line.find("MARKER"), std::string::npos);
        EXPECT_EQ(line.find("Error: "), std::string::npos) << line;
    }
}

/* ---- damage */

TEST(DamagedContent, PrintsTheRestAndTheNextPage)
{
    PrintOptions options;
    options.strict = false;
    for (const char *damage : {"1 0 0 m",
                               "(x) 1 rg",
                               "/Nothing Do",
                               "1 2 3 4 5 scn 7 sc",
                               "[ 1 2 (x",
                               "] ] >> >>",
                               "} { 1 2 m",
                               "<4142 zz>",
                               "BT /F 10 Tf (x) Tj ET",
                               "q q q",
                               "Q Q Q",
                               "1 cm",
                               "null w",
                               "true J",
                               "(a) d",
                               "[ (a) ] 0 d",
                               "<< /A",
                               "BI /W 4 ID",
                               "l",
                               "c",
                               "h",
                               "re",
                               "1 2 3 re",
                               "0 0 0 0 0 0 cm 10 10 m"}) {
        /* What stands before the damage is printed in every case; what stands behind it, where the
         * damage does not hide it. */
        bool hides = std::string(damage).find_first_of("(<{") != std::string::npos &&
                     std::string(damage).find_first_of(")>}") == std::string::npos;
        std::string content = BOX + std::string("q ") + damage;
        if (!hides)
            content += " n Q Q 0 0 1 rg ";
        PrintedJob job = printPages(pageDescription(content) + pageDescription(BOX), options);
        SCOPED_TRACE(damage);
        EXPECT_EQ(job.status, 0);
        EXPECT_EQ(job.pages.size(), 2U);
        expectPage(job, 0, BOX);
        expectPage(job, 1, BOX);
    }
}

/* Every operator without operands, with too many, and with operands of wrong types. */
TEST(DamagedContent, NoOperatorTakesThePageWithIt)
{
    const char *operators[] = {"b",  "B",  "b*", "B*", "BDC", "BMC", "BT",  "BX",  "c",  "cm", "CS",
                               "cs", "d",  "d0", "d1", "Do",  "DP",  "EI",  "EMC", "ET", "EX", "f",
                               "F",  "f*", "G",  "g",  "gs",  "h",   "i",   "ID",  "j",  "J",  "K",
                               "k",  "l",  "M",  "m",  "MP",  "n",   "q",   "Q",   "re", "RG", "rg",
                               "ri", "s",  "S",  "sc", "SC",  "scn", "SCN", "sh",  "T*", "Tc", "Td",
                               "TD", "Tf", "Tj", "TJ", "TL",  "Tm",  "Tr",  "Ts",  "Tw", "Tz", "v",
                               "w",  "W",  "W*", "y",  "'",   "\"",  "[",   "]",   "<<", ">>"};
    std::string content;
    for (const char *name : operators) {
        for (const char *operands : {"", "(x) ", "/N ", "[1 (x) /N] ", "1 (x) /N [2] null ",
                                     "<< /A 1 >> ", "9 8 7 6 5 4 3 2 1 ", "true false "})
            content += operands + std::string(name) + "\n";
        content += "n EX EX EX EX EX EX EX EX Q Q Q Q Q Q Q Q\n";
    }
    PrintOptions options;
    options.strict = options.probe = false;
    PrintedJob job = printPages(pageDescription(content) + pageDescription(BOX), options);
    EXPECT_EQ(job.status, 0);
    EXPECT_EQ(job.pages.size(), 2U);
    expectPage(job, 1, BOX);
}

TEST(DamagedContent, WhatAnErrorLeavesBehindIsGone)
{
    /* The probe would see operands and dictionaries that an operator has left. */
    PrintOptions options;
    options.strict = false;
    std::string content = "(x) Tj /F 10 Tf BT (x) Tj ET /N gs /N cs (y) sc f 1 m ";
    PrintedJob job = printPages(pageDescription(content + BOX), options);
    for (const std::string &line : job.lines)
        EXPECT_FALSE(line.starts_with("PROBE")) << line;
    expectPage(job, 0, BOX);
}

TEST(DamagedContent, FilterDataThatBreakOffGiveWhatTheyHold)
{
    std::string content = BOX;
    for (int i = 0; i < 2000; i++)
        content += "% " + std::to_string(i * 7919 % 10007) + "\n";
    std::string packed(compressBound((uLong)content.size()), '\0');
    uLongf size = (uLongf)packed.size();
    compress((Bytef *)packed.data(), &size, (const Bytef *)content.data(), (uLong)content.size());
    packed.resize(size / 2);
    std::string page = "BeginPageDescription\n<< /PageSize [ 200 200 ] >> setpagedevice\n"
                       "0 0 translate\n0 rotate\n" +
                       passedThrough(packed, "/Filter /FlateDecode \n") + "EndPageDescription\n";
    PrintOptions options;
    options.strict = false;
    PrintedJob job = printPages(page + pageDescription(BOX), options);
    EXPECT_EQ(job.status, 0);
    expectPage(job, 0, BOX);
    expectPage(job, 1, BOX);
}

TEST(DamagedContent, NumbersThatSomeWritersProduce)
{
    PrintOptions options;
    PrintedJob job = printPages(pageDescription("1 0 0 rg +40 40. 120-5 --60 re f 0 0 1 rg "
                                                ".5 0 0 .5 1.0.0 -.0 cm 300 300 60 60.0.1 re f"),
                                options);
    EXPECT_EQ(faultsOf(job), Lines{});
    expectPage(job, 0, "1 0 0 rg 40 40 120 -60 re f 0 0 1 rg 151 150 30 30 re f");
}

TEST(DamagedContent, NumbersWithoutADigitAreZero)
{
    PrintOptions options;
    PrintedJob job = printPages(pageDescription("1 0 0 rg 40 40 m 160 40 l 160 160 l h f 1 . - rg "
                                                "inf nan 20 20 re f -. +. 10 10 re f -inf + 1 rg "
                                                "0 180 20 20 re f"),
                                options);
    EXPECT_EQ(faultsOf(job), Lines{});
    expectPage(job, 0,
               "1 0 0 rg 40 40 m 160 40 l 160 160 l h f 0 0 20 20 re f 0 0 1 rg "
               "0 180 20 20 re f");
}

TEST(DamagedContent, ThousandsOfErrorsEnd)
{
    std::string content = BOX;
    for (int i = 0; i < 20000; i++)
        content += "zzz ";
    PrintOptions options;
    options.strict = options.probe = false;
    PrintedJob job = printPages(pageDescription(content) + pageDescription(BOX), options);
    EXPECT_EQ(job.status, 0);
    expectPage(job, 0, BOX);
    expectPage(job, 1, BOX);
}

TEST(StrictMode, StopsAtTheFirstError)
{
    PrintOptions options;
    for (const char *error : {"1 m", "zzz", "/Nothing Do", "/Nothing gs", "/Nothing cs"}) {
        PrintedJob job = printPages(pageDescription(error) + pageDescription(BOX), options);
        EXPECT_NE(job.status, 0) << error;
        EXPECT_TRUE(job.pages.empty()) << error;
    }
}

TEST(Counting, TellsHowManyErrorsAndReplacedFontsThereWere)
{
    PrintOptions options;
    options.strict = false;
    const std::string twoErrors = pageDescription("zzz 1 m " + BOX);
    PrintedJob job = printPages(twoErrors + pageDescription(BOX) + twoErrors, options);
    EXPECT_EQ(faultsOf(job),
              Lines{"%%[ pdf_to_ps: 4 errors in page content, 0 fonts replaced ]%%"});
    job = printPages(pageDescription(BOX), options);
    for (const std::string &line : job.lines)
        EXPECT_FALSE(line.starts_with("%%[")) << line;
}

/* ---- nothing runs */

const char *const HOSTILE[] = {
    "userdict /Marker 1 put",
    "systemdict /userdict get /Marker 1 put",
    "//userdict /Marker 1 put",
    "{ userdict /Marker 1 put } exec",
    "(userdict /Marker 1 put) cvx exec",
    "/Marker 1 def",
    "/Marker 1 store",
    "currentdict /Marker 1 put",
    "//systemdict begin /Marker 1 def",
    "quit",
    "//quit",
    "//quit exec",
    "stop",
    "exit",
    "end end end end end end end end",
    "clear cleartomark",
    "countdictstack { end } repeat",
    "(/etc/passwd) (r) file",
    "(%stdout) (w) file (MARKER) writestring",
    "(MARKER) print",
    "(MARKER) ==",
    "currentfile closefile",
    "currentfile flushfile",
    "save restore",
    "/re { userdict /Marker 1 put } def",
    "/m { userdict /Marker 1 put } bind def",
    "$error /newerror true put handleerror",
    "errordict /undefined { userdict /Marker 1 put } put",
    "false setglobal true setglobal",
    "showpage copypage erasepage",
    "<< /PageSize [10 10] >> setpagedevice",
    "nulldevice",
    "initgraphics",
    "\x84\x92\x93\x01\x02", /* binary tokens */
    "\x91\x02 \x92\x9D",
    "\x80\x01\x02\x03\x04",
    "<~87cURD]~>",
    "%!PS\nuserdict /Marker 1 put",
    "[ { userdict /Marker 1 put } ] 0 get exec",
    "[ { userdict /Marker 1 put } ] TJ",
    "/F { userdict /Marker 1 put } Tf",
    "{ userdict /Marker 1 put } Tj",
    "{ userdict /Marker 1 put } gs",
    "{ userdict /Marker 1 put } Do",
    "{ userdict /Marker 1 put } cs",
    "/DeviceRGB cs { userdict /Marker 1 put } sc f",
    "[ /Separation (x) /DeviceGray { userdict /Marker 1 put } ] cs 1 sc f",
    "[ { userdict /Marker 1 put } ] 0 d",
    "{ userdict /Marker 1 put } w",
    "<< /A { userdict /Marker 1 put } >> BDC",
    "BI /W 1 /H 1 /BPC { userdict /Marker 1 put } ID x EI",
    "BI /W 1 /H 1 /F { userdict /Marker 1 put } ID x EI",
    "<< /Length 3 >> PageContents",
    "BeginPageDescription",
    "EndDocument",
    "/x findRes",
    "/Font findfont",
    "Prolog /Strict true put",
    "Strict",
    "ReadContent",
    "Caught",
    "Section closefile",
    "JobFile closefile",
    "PageSave restore",
};

TEST(HostilePages, NothingRunsInAnyPlaceForContent)
{
    std::string pages;
    for (const char *text : HOSTILE) {
        std::string hostile = text;
        std::string formData = hostile + "\n" + BOX;
        std::string asForm =
            std::to_string(formData.size()) + " /docFm ReadCount\n" + formData +
            "\n/Fm\n<<\n/ExternName (docFm)\n/BBox [ 0 0 200 200 ] \n>>\nCallForm\n";
        std::string asFont = "/T <<\n/FontType 3\n/FontMatrix [ 1 0 0 1 0 0 ] \n<<\n"
                             "/Differences [ 65 /a ] \n>> T3AdjEnc\n/CharProcs <<\n"
                             "/.notdef {250 0 d0}\n/a { save\n100 0 d0 " +
                             hostile + "\n restore }\n>>\nT3DefFnct\n>> definefont pop\n";
        pages += pageDescription(hostile + "\n" + BOX) + pageDescription("/Fm Do", asForm) +
                 pageDescription("BT /T 1 Tf (A) Tj ET " + BOX, asFont) + pageDescription(BOX);
    }
    PrintOptions options = guarded();
    options.afterProlog = ASK_MARKER;
    options.probe = false;
    options.dpi = 36;
    PrintedJob job = printPages(pages, options);
    expectUntouched(job);
    ASSERT_EQ(job.pages.size(), 4 * std::size(HOSTILE));
    Picture box = renderPdf(onePagePdf(BOX), options.dpi).at(0);
    for (size_t i = 0; i < std::size(HOSTILE); i++)
        EXPECT_TRUE(isRight(comparePictures(job.pages[4 * i + 3], box))) << HOSTILE[i];
}

/* What the converter writes with its switch DECODE: content without a length. */
TEST(HostilePages, NothingRunsInContentThatStandsInClear)
{
    PrintOptions options = guarded();
    options.afterProlog = ASK_MARKER;
    options.probe = false;
    auto clear = [](const std::string &content) {
        return "BeginPageDescription\n<< /PageSize [ 200 200 ] >> setpagedevice\n0 0 translate\n"
               "0 rotate\n" +
               content + "EndPageDescription\n";
    };
    std::string pages;
    for (const char *text : HOSTILE)
        pages += clear(text + std::string("\n") + BOX);
    for (const char *text :
         {"EndPageDescription\nuserdict /Marker 1 put\n",
          "EndPageDescription\nEndDocument\nuserdict /Marker 1 put\n",
          "EndPageDescription EndDocument userdict /Marker 1 put\n",
          "EndPageDescription\nBeginPageDescription\nuserdict /Marker 1 put\n",
          "EndPageDescription\n%!PS\nuserdict /Marker 1 put quit\n", "(EndPageDescription\n",
          "{ EndPageDescription\n", "<41 EndPageDescription\n", "% "})
        pages += clear(BOX + text);
    PrintedJob job = printPages(pages + clear(BOX), options);
    expectUntouched(job);
    expectPage(job, job.pages.size() - 1, BOX);
}

/* A name as a PDF file spells it. */
std::string spelled(const std::string &name)
{
    std::string text = "/";
    for (char c : name) {
        char code[4];
        snprintf(code, sizeof code, "#%02X", (unsigned char)c);
        text += isalnum((unsigned char)c) ? std::string(1, c) : code;
    }
    return text;
}

/* Names reach the page description decoded: blanks, delimiters and all. */
TEST(HostilePages, ResourceNamesAreNeverCode)
{
    PrintOptions options = guarded();
    options.afterProlog = ASK_MARKER;
    options.probe = false;
    const std::string names[] = {
        "A userdict /Marker 1 put",
        "A\nuserdict /Marker 1 put\n",
        "A { userdict /Marker 1 put } exec",
        "A {userdict/Marker 1 put} dup exec",
        "A / >> userdict /Marker 1 put",
        "A quit",
        "A //quit",
        "A(",
        "A)",
        "A{",
        "A}",
        "A<",
        "A>>",
        "A[[",
        "A%",
        "A//",
        "A\r\n",
        std::string("A\0B", 3),
        "A\x80\x84\x92",
        "EndPageDescription",
        "A EndPageDescription",
        "A\nEndPageDescription\nEndDocument\nquit\n",
        "A BeginPageDescription",
        "A EndDocument",
        "A << /PageSize [1 1] >> setpagedevice",
        "A rotate userdict /Marker 1 put",
        "A currentfile pop pop pop pop",
        "A end end end end end end",
        "A 20 dict begin /readstring 1 def",
        "A 999999999 string",
        "A 999999999 dict",
        "A (userdict /Marker 1 put) cvx",
        "A systemdict begin /Marker 1 def",
        "A //userdict begin /Marker 1 def",
    };
    /* A page like this one follows each hostile one.  Such names can cut a page short or begin
     * another one; the pages of this kind are all there. */
    const std::string separator = "0 0 1 rg 0 0 200 20 re f 0 180 200 20 re f";
    const std::string draw = " q 160 0 0 160 20 20 cm /X Do Q ";
    for (const std::string &name : names) {
        SCOPED_TRACE(spelled(name));
        PdfBuilder pdf;
        int image = pdf.addStream("/Type /XObject /Subtype /Image /Width 1 /Height 1 "
                                  "/BitsPerComponent 8 /ColorSpace /DeviceGray",
                                  "x");
        int formObject = pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 9 9]", "n");
        int glyph = pdf.addStream("", "9 0 d0");
        int tint = pdf.addStream("/FunctionType 0 /Domain [0 1] /Range [0 1] /Size [2] "
                                 "/BitsPerSample 8",
                                 "ab");
        const std::string typeThree = "/Type /Font /Subtype /Type3 /FontBBox [0 0 1 1] /FontMatrix "
                                      "[1 0 0 1 0 0] ";
        const std::string key = spelled(name) + " ";
        const std::string resources[] = {
            "/XObject << " + key + ref(image) + " >>",
            "/XObject << " + key + ref(formObject) + " >>",
            "/Font << " + key + "<< /Type /Font /Subtype /Type1 /BaseFont " + key + ">> >>",
            "/Font << /F << " + typeThree + "/CharProcs << " + key + ref(glyph) +
                " >> /Encoding << "
                "/Differences [65 " +
                key + "] >> >> >>",
            "/Font << " + key + "<< " + typeThree + "/CharProcs << /a " + ref(glyph) + " >> >> >>",
            "/ExtGState << " + key + "<< /SA true >> >>",
            "/ColorSpace << " + key + "/DeviceRGB >>",
            "/ColorSpace << /C [/Separation " + key + "/DeviceGray " + ref(tint) + "] >>"};
        for (const std::string &entries : resources) {
            pdf.addPage("/MediaBox [0 0 200 200] /Resources << " + entries + " >> /Contents " +
                        ref(pdf.addStream("", draw + BOX)));
            pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(pdf.addStream("", separator)));
        }
        Conversion conversion = convertPdf(pdf.build());
        ASSERT_EQ(conversion.status, 0);
        options.dpi = 36;
        PrintedJob job = printPages(conversion.pages, options);
        expectUntouched(job);
        Picture wanted = renderPdf(onePagePdf(separator), options.dpi).at(0);
        EXPECT_EQ(std::count_if(job.pages.begin(), job.pages.end(),
                                [&wanted](const Picture &page) {
                                    return isRight(comparePictures(page, wanted));
                                }),
                  std::ssize(resources));
    }
}

/* ---- names, and the frame of a page */

TEST(Names, SpelledWithNumberSignsAreFound)
{
    PageSet set;
    int image = set.pdf.addStream("/Type /XObject /Subtype /Image /Width 1 /Height 1 "
                                  "/BitsPerComponent 8 /ColorSpace /DeviceGray",
                                  "x");
    set.addLike("in content", "q 100 0 0 100 20 20 cm /I#6d#61ge Do Q",
                "/Resources << /XObject << /Image " + ref(image) + " >> >>",
                "q 100 0 0 100 20 20 cm /Image Do Q",
                "/Resources << /XObject << /Image " + ref(image) + " >> >>");
    set.add("in content and resources", "q 100 0 0 100 20 20 cm /A#c3B Do Q",
            "/Resources << /XObject << /A#C3B " + ref(image) + " >> >>");
    set.add("with a blank", "BT /My#20font#20one 30 Tf 20 100 Td (Text) Tj ET",
            "/Resources << /Font << /My#20font#20one << /Type /Font /Subtype /Type1 /BaseFont "
            "/Courier >> >> >>");
    set.expectRight();
}

TEST(Frame, TheEndMarkMayStandInDataThatAreCounted)
{
    const std::string mark = "EndPageDescription";
    PrintOptions options;
    std::string content = "% " + mark + "\nBT /F1 10 Tf 0 Tr (" + mark + ") pop ET\n";
    content = "/P << /A (" + mark + mark + ") >> DP " + BOX + "% " + mark;
    std::string samples = mark + mark + std::string(64 - 2 * mark.size(), '\x40');
    std::string image = "64 /docIm ReadCount\n" + samples +
                        "\n/Im\n<<\n/ExternName (docIm)\n"
                        "/Width 8 \n/Height 8 \n/BitsPerComponent 8 \n/ColorSpace /DeviceGray "
                        "/ColorSpace findRes\n>>\nCallImage\n";
    for (bool pipe : {false, true}) {
        options.pipe = pipe;
        PrintedJob job = printPages(pageDescription(content, image) +
                                        pageDescription("q 160 0 0 160 20 20 cm /Im Do Q", image) +
                                        pageDescription(BOX),
                                    options);
        EXPECT_EQ(faultsOf(job), Lines{});
        ASSERT_EQ(job.pages.size(), 3U);
        expectPage(job, 0, BOX);
        EXPECT_NEAR(job.pages[1].at(150, 240)[0], 0x40, 2); /* in the last row of samples */
        expectPage(job, 2, BOX);
    }
}

TEST(Frame, AJobThatBreaksOffPrintsWhatHasArrived)
{
    std::string page = pageDescription(BOX + std::string(500, ' '));
    PrintOptions options;
    options.strict = false;
    for (size_t missing : {20U, 25U, 100U, 519U})
        for (bool pipe : {false, true}) {
            options.pipe = pipe;
            options.trailer = false;
            PrintedJob job = printPages(page + page.substr(0, page.size() - missing), options);
            EXPECT_EQ(job.status, 0);
            ASSERT_EQ(job.pages.size(), 2U) << missing;
            expectPage(job, 0, BOX);
            expectPage(job, 1, BOX);
        }
}

TEST(Frame, AnOpenPageIsClosedByTheNextOneOrByTheEnd)
{
    std::string open = "BeginPageDescription\n<< /PageSize [ 200 200 ] >> setpagedevice\n"
                       "0 0 translate\n0 rotate\n" +
                       passedThrough(BOX);
    PrintOptions options;
    PrintedJob job = printPages(open + open + pageDescription(BOX) + open, options);
    EXPECT_EQ(faultsOf(job), Lines{});
    EXPECT_EQ(job.pages.size(), 4U);
    for (size_t page = 0; page < 4; page++)
        expectPage(job, page, BOX);
}

TEST(Frame, APageWithoutContentIsBlank)
{
    PrintOptions options;
    std::string empty = "BeginPageDescription\n<< /PageSize [ 200 200 ] >> setpagedevice\n"
                        "0 0 translate\n0 rotate\nEndPageDescription\n";
    PrintedJob job = printPages(empty + pageDescription(BOX) + empty, options);
    EXPECT_EQ(faultsOf(job), Lines{});
    ASSERT_EQ(job.pages.size(), 3U);
    EXPECT_TRUE(isBlank(job.pages[0]));
    EXPECT_TRUE(isBlank(job.pages[2]));
    expectPage(job, 1, BOX);
}

TEST(ClearContent, PrintsLikeContentThatIsPassedThrough)
{
    PdfBuilder pdf;
    int image = pdf.addStream("/Type /XObject /Subtype /Image /Width 2 /Height 1 "
                              "/BitsPerComponent 8 /ColorSpace /DeviceGray",
                              "\x40\xB0");
    const std::string contents[] = {
        BOX, "q 160 0 0 160 20 20 cm /Im Do Q", "BT /F1 30 Tf 20 100 Td (Text) Tj ET",
        "q 100 0 0 100 20 20 cm BI /W 2 /H 1 /BPC 8 /CS /G ID \x30\xC0 EI Q",
        "10 w 20 20 m 180 180 l S"};
    for (const std::string &content : contents)
        pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(pdf.addStream("", content)) +
                    " /Resources << /XObject << /Im " + ref(image) +
                    " >> /Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> "
                    ">>");
    PrintedJob job = printPages(convertPdf(pdf.build(), {"-DECODE"}).pages);
    EXPECT_EQ(faultsOf(job), Lines{});
    std::vector<Picture> reference = renderPdf(pdf.build(), PrintOptions().dpi);
    ASSERT_EQ(job.pages.size(), reference.size());
    for (size_t i = 0; i < reference.size(); i++) {
        PictureDifference d = comparePictures(job.pages[i], reference[i]);
        EXPECT_TRUE(isRight(d)) << contents[i] << ": " << describe(d);
    }
}

} // namespace
