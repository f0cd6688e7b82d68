/*
 * annotations_test.cpp - annotations and form fields become part of the page
 */
#include <gtest/gtest.h>

#include <regex>

#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/picture.h"

namespace {

const char TEXT[] = "BT /F1 20 Tf 20 103 Td (Marked text) Tj ET\n";
const char BOX[] = "/Type /XObject /Subtype /Form /BBox [0 0 10 10]";

/* A document with a page for each set of annotations. */
struct Annotated {
    PdfBuilder pdf;
    std::string font = ref(pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding "
                                   "/WinAnsiEncoding >>"));
    std::string serif = ref(pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont /Times-Roman >>"));

    /* An appearance of 10 by 10 units. */
    std::string appearance(const std::string &content, const std::string &entries = BOX)
    {
        return ref(pdf.addStream(entries, content));
    }

    std::string annotation(const std::string &entries)
    {
        return ref(pdf.add("<< /Type /Annot " + entries + " >>"));
    }

    void addPage(const std::string &content, const std::string &annotations,
                 const std::string &entries = "")
    {
        int stream = pdf.addStream("", content);
        pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) +
                    " /Resources << /Font << /F1 " + font + " /F2 " + serif + " >> >> /Annots [" +
                    annotations + "] " + entries);
    }

    /* One page with one annotation. */
    std::string build(const std::string &entries, const std::string &content = TEXT,
                      const std::string &page = "")
    {
        addPage(content, annotation(entries), page);
        return pdf.build();
    }
};

/* The page without annotations that has this content. */
std::string plainPage(const std::string &content)
{
    Annotated plain;
    plain.addPage(content, "");
    return plain.pdf.build();
}

/* Is anything drawn of an annotation with these entries and a red square as its appearance? */
bool isDrawn(const std::string &entries, const std::vector<std::string> &options = {})
{
    Annotated document;
    std::string red = document.appearance("1 0 0 rg 0 0 10 10 re f");
    std::string pdf = document.build("/Rect [20 20 80 80] /AP << /N " + red + " >> " + entries);
    Preparation made = preparePdf(pdf, options);
    EXPECT_EQ(made.status, 0);
    bool isChanged = made.pdf != pdf;
    std::string expected = isChanged ? "1 0 0 rg 20 20 60 60 re f" : "";
    if (isChanged)
        expectSamePages(plainPage(TEXT + expected), made.pdf);
    return isChanged;
}

/* Annotations without appearance, each with the content that draws the same. */
struct Row {
    const char *entries, *content;
};

void expectDrawn(const std::vector<Row> &rows)
{
    Annotated annotated, plain;
    for (const Row &row : rows) {
        annotated.addPage(TEXT, annotated.annotation("/F 4 " + std::string(row.entries)));
        plain.addPage(TEXT + std::string(row.content), "");
    }
    Preparation made = preparePdf(annotated.pdf.build());
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages, std::vector<std::string>());
    expectSamePages(plain.pdf.build(), made.pdf);
    EXPECT_EQ(preparePdf(made.pdf).pdf, made.pdf) << "a prepared document needs nothing";
}

} // namespace

TEST(Annotations, AppearanceIsFittedIntoTheRectangle)
{
    Annotated document;
    const char arrow[] = "0 0 1 rg 0 0 10 2 re f 1 0 0 rg 0 0 m 4 8 l 0 10 l f";
    const char *forms[] = {
        "/BBox [0 0 10 10]",
        "/BBox [-5 -5 15 10]",
        "/BBox [0 0 10 10] /Matrix [0 1 -1 0 0 0]",
        "/BBox [0 0 10 10] /Matrix [2 0.5 0 3 40 50]",
    };
    for (const char *form : forms) {
        std::string stream = document.appearance(arrow, "/Subtype /Form " + std::string(form));
        document.addPage(TEXT, document.annotation("/Subtype /Stamp /F 4 /Rect [20 20 120 70] "
                                                   "/AP << /N " +
                                                   stream + " >>"));
    }
    expectPrepared(document.pdf.build());
}

TEST(Annotations, FlagsDecideWhatIsPrinted)
{
    EXPECT_TRUE(isDrawn("/Subtype /Stamp /F 4"));
    EXPECT_FALSE(isDrawn("/Subtype /Stamp"));
    EXPECT_FALSE(isDrawn("/Subtype /Stamp /F 6")) << "hidden";
    EXPECT_TRUE(isDrawn("/Subtype /Stamp /F 36")) << "not in view, but printed";
    EXPECT_TRUE(isDrawn("/Subtype /Stamp /F 5")) << "invisible is about unknown types";
    EXPECT_TRUE(isDrawn("/Subtype /Unheard /F 4"));
    EXPECT_FALSE(isDrawn("/Subtype /Unheard /F 5"));
    EXPECT_FALSE(isDrawn("/Subtype /Popup /F 4"));
    EXPECT_FALSE(isDrawn("/Subtype /Stamp /F (4)")) << "flags that are none";
}

TEST(Annotations, FlagsDecideWhatIsSeen)
{
    const std::vector<std::string> screen = {"--annotations=screen"};
    EXPECT_TRUE(isDrawn("/Subtype /Stamp", screen));
    EXPECT_TRUE(isDrawn("/Subtype /Stamp /F 4", screen));
    EXPECT_FALSE(isDrawn("/Subtype /Stamp /F 2", screen));
    EXPECT_FALSE(isDrawn("/Subtype /Stamp /F 36", screen));
    EXPECT_FALSE(isDrawn("/Subtype /Popup", screen));
    EXPECT_FALSE(isDrawn("/Subtype /Stamp /F 4", {"--annotations=none"}));
}

TEST(Annotations, RotatedPageTurnsAllButThoseThatStayUpright)
{
    Annotated document;
    std::string stream =
        document.appearance("0 0 1 rg 0 0 10 2 re f 1 0 0 rg 0 0 m 4 8 l 0 10 l f");
    std::string entries = "/Subtype /Stamp /Rect [80 80 120 140] /AP << /N " + stream + " >> /F ";
    for (const char *turn : {"90", "180", "270", "-90"})
        document.addPage(TEXT, document.annotation(entries + "4"), "/Rotate " + std::string(turn));
    expectPrepared(document.pdf.build());

    /* Upright on a page turned by 90: from the upper left corner of its rectangle. */
    Annotated upright;
    stream = upright.appearance("0 0 1 rg 0 0 10 2 re f 1 0 0 rg 0 0 m 4 8 l 0 10 l f");
    Preparation made = preparePdf(
        upright.build("/Subtype /Text /Rect [80 80 120 140] /F 20 /AP << /N " + stream + " >>",
                      TEXT, "/Rotate 90"));
    Annotated expected;
    expected.addPage(TEXT + std::string("q 0 1 -1 0 80 140 cm 4 0 0 6 0 -60 cm "
                                        "0 0 1 rg 0 0 10 2 re f 1 0 0 rg 0 0 m 4 8 l 0 10 l f Q"),
                     "", "/Rotate 90");
    expectSamePages(expected.pdf.build(), made.pdf);
}

TEST(Annotations, StateSelectsTheAppearance)
{
    Annotated document;
    std::string on = document.appearance("0 0.5 0 rg 0 0 10 10 re f");
    std::string off = document.appearance("1 w 1 1 8 8 re S");
    std::string states =
        "/Subtype /Widget /FT /Btn /T (box) /Rect [20 20 60 60] /F 4 /AP << /N << /Yes " + on +
        " /Off " + off + " >> >> ";
    document.addPage(TEXT, document.annotation(states + "/AS /Yes"));
    document.addPage(TEXT, document.annotation(states + "/AS /Off"));
    expectPrepared(document.pdf.build());
    /* Without a state the field's value is one. */
    Annotated plain, valued;
    on = valued.appearance("0 0.5 0 rg 0 0 10 10 re f");
    off = valued.appearance("1 w 1 1 8 8 re S");
    states = "/Subtype /Widget /FT /Btn /Rect [20 20 60 60] /F 4 /AP << /N << /Yes " + on +
             " /Off " + off + " >> >> ";
    valued.addPage(TEXT, valued.annotation(states + "/V /Yes"));
    valued.addPage(TEXT, valued.annotation(states + "/V /Maybe"));
    plain.addPage(TEXT + std::string("0 0.5 0 rg 20 20 40 40 re f"), "");
    plain.addPage(TEXT + std::string("4 w 24 24 32 32 re S"), "");
    expectSamePages(plain.pdf.build(), preparePdf(valued.pdf.build()).pdf);
}

TEST(Annotations, LayerThatIsOffHidesThem)
{
    Annotated document;
    std::string group = ref(document.pdf.add("<< /Type /OCG /Name (A) >>"));
    document.pdf.catalogEntries =
        "/OCProperties << /OCGs [" + group + "] /D << /OFF [" + group + "] >> >>";
    std::string pdf =
        document.build("/Subtype /Square /F 4 /C [1 0 0] /Rect [20 20 80 80] /OC " + group);
    EXPECT_EQ(probePdf(pdf), 0);
}

TEST(Annotations, ContentThatLeavesThingsOpenIsClosedFirst)
{
    Annotated document;
    std::string red = document.appearance("1 0 0 rg 0 0 10 10 re f");
    std::string stamp = document.annotation(
        "/Subtype /Stamp /F 4 /Rect [100 100 160 160] /AP << /N " + red + " >>");
    for (const char *content :
         {"q 0.5 0 0 0.5 0 0 cm 0 0 50 50 re W n q 2 0 0 2 0 0 cm 0 0 10 10 re f",
          "/Span BMC 10 10 20 20 re f", "BT /F1 20 Tf 20 20 Td (Open) Tj"})
        document.addPage(content, stamp);
    expectPrepared(document.pdf.build());
}

TEST(Annotations, RestoresThatRestoreNothingStayWithoutEffect)
{
    Annotated document;
    std::string red = document.appearance("1 0 0 rg 0 0 10 10 re f");
    Preparation made = preparePdf(
        document.build("/Subtype /Stamp /F 4 /Rect [100 100 160 160] /AP << /N " + red + " >>",
                       "q Q Q Q 0.5 0 0 0.5 30 30 cm Q 0 0 40 40 re f"));
    expectSamePages(plainPage("30 30 20 20 re f 1 0 0 rg 100 100 60 60 re f"), made.pdf);
}

TEST(Annotations, MarkerThatMultipliesLiesUnderTheText)
{
    Annotated document;
    std::string marker = ref(document.pdf.addStream(
        "/Subtype /Form /BBox [0 0 100 20] /Resources << /ExtGState << /G << /BM /Multiply >> >> "
        ">>",
        "/G gs 1 1 0 rg 0 0 100 20 re f"));
    std::string nested = ref(document.pdf.addStream(
        "/Subtype /Form /BBox [0 0 100 20] /Resources << /XObject << /X " + marker + " >> >>",
        "/X Do"));
    for (const std::string &form : {marker, nested})
        document.addPage(TEXT, document.annotation("/Subtype /Highlight /F 4 /Rect [15 98 135 123] "
                                                   "/AP << /N " +
                                                   form + " >>"));
    document.pdf.header = "%PDF-1.4\n";
    expectPrepared(document.pdf.build());
}

/* Browsers, scanners and office programs paint a background first, under which a marker that lies
 * below everything is not to be seen. */
TEST(Annotations, MarkersShowOnWhateverThePagePaints)
{
    const std::string rectangle = "/Subtype /Highlight /F 4 /C [1 1 0] /Rect [20 80 180 120] ";
    auto printed = [&](const std::string &below, const std::string &state,
                       const std::string &first = "") {
        Annotated document;
        std::string entries = rectangle;
        if (!state.empty())
            entries += "/AP << /N " +
                       ref(document.pdf.addStream(
                           "/Subtype /Form /BBox [20 80 180 120] /Resources << /ExtGState << /G " +
                               state + " >> >>",
                           "/G gs 1 1 0 rg 20 80 160 40 re f")) +
                       " >>";
        std::string annotations = document.annotation(entries);
        if (!first.empty())
            annotations =
                document.annotation("/Subtype /Square /F 4 /Rect [20 80 180 120] /IC [0 1 1]") +
                " " + annotations;
        document.addPage(below + " 0 g 80 90 40 20 re f", annotations);
        Preparation made = preparePdf(document.pdf.build());
        EXPECT_EQ(made.status, 0);
        return renderPdf(made.pdf, 72).at(0);
    };
    const char *multiply = "<< /BM /Multiply >>";
    for (const char *state : {multiply, "<< /BM /Darken >>", ""}) {
        for (const char *background : {"1 g 0 0 200 200 re f", "1 0 0 0 k 0 0 0 0 k 0 0 200 200 re "
                                                               "f"}) {
            Picture page = printed(background, state);
            EXPECT_TRUE(hasColour(page, 40, 100, {255, 255, 0}, 72)) << background << state;
            EXPECT_TRUE(hasColour(page, 100, 100, {0, 0, 0}, 72)) << background << state;
            EXPECT_TRUE(hasColour(page, 100, 150, {255, 255, 255}, 72)) << background << state;
        }
        EXPECT_TRUE(
            hasColour(printed("1 0 1 rg 0 0 200 200 re f", state), 40, 100, {255, 0, 0}, 72))
            << state;
    }
    Picture half = printed("", "<< /ca 0.5 >>"); /* in mode Normal, dark things are lightened */
    EXPECT_TRUE(hasColour(half, 100, 100, {128, 128, 0}, 72));
    EXPECT_TRUE(hasColour(half, 40, 100, {255, 255, 128}, 72));
    EXPECT_TRUE(hasColour(printed("", multiply, "square"), 40, 100, {0, 255, 0}, 72))
        << "over the annotation before it";
}

TEST(Annotations, ShapesWithoutAppearanceAreDrawn)
{
    expectDrawn({
        {"/Subtype /Square /Rect [20 20 80 60] /C [1 0 0] /IC [1 1 0] /BS << /W 4 >>",
         "1 0 0 RG 1 1 0 rg 4 w 22 22 56 36 re B"},
        {"/Subtype /Square /Rect [20 20 80 60] /C [0.5] /RD [5 5 10 10] /Border [0 0 2 [6 4]]",
         "0.5 G 2 w [6 4] 0 d 26 26 43 23 re s"},
        {"/Subtype /Square /Rect [20 20 80 60] /IC [0 1 1 0] /BS << /W 0 >>",
         "0 1 1 0 k 20 20 60 40 re f"},
        {"/Subtype /Circle /Rect [20 20 80 80] /C [0 0 1] /IC [0.8 1 0.8] /BS << /W 6 >>",
         "0 0 1 RG 0.8 1 0.8 rg 6 w 77 50 m 77 64.912 64.912 77 50 77 c 35.088 77 23 64.912 23 50 "
         "c 23 35.088 35.088 23 50 23 c 64.912 23 77 35.088 77 50 c b"},
        {"/Subtype /Ink /Rect [0 0 1 1] /InkList [[20 20 50 80 80 20] [20 60 80 60]] /C [1 0 1] "
         "/BS << /W 5 >>",
         "1 0 1 RG 5 w 1 J 1 j 20 20 m 50 80 l 80 20 l S 20 60 m 80 60 l S"},
        {"/Subtype /PolyLine /Rect [0 0 1 1] /Vertices [20 20 50 80 80 20] /C [0 0.5 0] /BS << "
         "/W 3 /S /D >>",
         "0 0.5 0 RG 3 w [3] 0 d 20 20 m 50 80 l 80 20 l S"},
        {"/Subtype /Polygon /Rect [0 0 1 1] /Vertices [20 20 50 80 80 20] /C [0 0.5 0] /IC [1 0 0] "
         "/BS << /W 3 >>",
         "0 0.5 0 RG 1 0 0 rg 3 w 20 20 m 50 80 l 80 20 l b"},
    });
}

TEST(Annotations, LinesHaveTheirEndings)
{
    const char line[] = "0 0 1 RG 1 0 0 rg 4 w 50 50 m 150 50 l S ";
    const char *endings[][2] = {
        {"/None", ""},
        {"/Square", "140 40 20 20 re b"},
        {"/Circle", "160 50 m 160 55.523 155.523 60 150 60 c 144.477 60 140 55.523 140 50 c 140 "
                    "44.477 144.477 40 150 40 c 155.523 40 160 44.477 160 50 c b"},
        {"/Diamond", "160 50 m 150 60 l 140 50 l 150 40 l b"},
        {"/OpenArrow", "118.823 68 m 150 50 l 118.823 32 l S"},
        {"/ClosedArrow", "118.823 68 m 150 50 l 118.823 32 l b"},
        {"/ROpenArrow", "181.177 68 m 150 50 l 181.177 32 l S"},
        {"/RClosedArrow", "181.177 68 m 150 50 l 181.177 32 l b"},
        {"/Butt", "150 60 m 150 40 l S"},
        {"/Slash", "168 81.177 m 132 18.823 l S"},
    };
    std::vector<std::string> entries, contents;
    for (auto &[name, content] : endings) {
        entries.push_back("/Subtype /Line /Rect [0 0 1 1] /L [50 50 150 50] /C [0 0 1] /IC [1 0 0] "
                          "/BS << /W 4 >> /LE [/None " +
                          std::string(name) + "]");
        contents.push_back(line + std::string(content));
    }
    entries.push_back("/Subtype /Line /Rect [0 0 1 1] /L [50 50 150 50] /C [0 0 1] /BS << /W 4 >> "
                      "/LL 30 /LLE 10 /LLO 5");
    contents.push_back("0 0 1 RG 4 w 50 85 m 150 85 l S 50 55 m 50 95 l S 150 55 m 150 95 l S");
    std::vector<Row> rows;
    for (size_t i = 0; i < entries.size(); i++)
        rows.push_back({entries[i].c_str(), contents[i].c_str()});
    expectDrawn(rows);
}

TEST(Annotations, TextMarksWithoutAppearanceAreDrawn)
{
    Annotated annotated, plain;
    const std::string quad = " /QuadPoints [20 123 130 123 20 99 130 99] /Rect [0 0 1 1] /F 4";
    auto add = [&](const std::string &entries, const std::string &before,
                   const std::string &behind) {
        annotated.addPage(TEXT, annotated.annotation(entries));
        plain.addPage(before + "0 g " + TEXT + behind, "");
    };
    add("/Subtype /Highlight /C [1 1 0]" + quad, "1 1 0 rg 20 99 110 24 re f ", "");
    add("/Subtype /Highlight /C [1 0 0] /CA 0.25" + quad, "1 0.75 0.75 rg 20 99 110 24 re f ", "");
    add("/Subtype /Underline /C [1 0 0]" + quad, "", "1 0 0 RG 1.5 w 20 102.429 m 130 102.429 l S");
    add("/Subtype /StrikeOut /C [1 0 0]" + quad, "", "1 0 0 RG 1.5 w 20 109.286 m 130 109.286 l S");
    add("/Subtype /Highlight /C [0 1 1] /Rect [20 99 130 123] /F 4", "0 1 1 rg 20 99 110 24 re f ",
        "");
    std::string teeth = "1 0 0 RG 1.5 w 20 100.5 m ";
    for (int i = 1; i <= 36; i++)
        teeth += std::to_string(20 + i * 110 / 36.0) + (i % 2 ? " 103 l " : " 100.5 l ");
    add("/Subtype /Squiggly /C [1 0 0]" + quad, "", teeth + "S");
    expectSamePages(plain.pdf.build(), preparePdf(annotated.pdf.build()).pdf);
}

TEST(Annotations, LinkBordersAreDrawn)
{
    expectDrawn({
        {"/Subtype /Link /Rect [20 20 90 60] /Border [0 0 4 [8 4]] /C [0 0 1]",
         "0 0 1 RG 4 w [8 4] 0 d 22 22 66 36 re S"},
        {"/Subtype /Link /Rect [20 20 90 60] /BS << /W 4 /S /U >> /C [1 0 0]",
         "1 0 0 RG 4 w 22 22 m 88 22 l S"},
        {"/Subtype /Link /Rect [20 20 90 60]", "1 w 20.5 20.5 69 39 re S"},
    });
    for (const char *entries : {"/Border [0 0 0]", "/BS << /W 0 >>", "/C []", "/H /I /F 0"}) {
        Annotated document;
        std::string flags = std::string(entries).find("/F") == std::string::npos ? "/F 4 " : "";
        EXPECT_EQ(probePdf(document.build("/Subtype /Link /Rect [20 20 90 60] " + flags + entries)),
                  0)
            << entries;
    }
}

TEST(Annotations, FreeTextIsSetInItsBox)
{
    Annotated annotated;
    annotated.addPage(
        "",
        annotated.annotation(
            "/Subtype /FreeText /F 4 /Rect [20 80 180 160] /C [1 1 0.8] /BS << /W 2 >> /DA (0 0 "
            "1 rg /Helv 16 Tf) /Contents (Words that do not fit\\rand (stay))"));
    annotated.addPage("",
                      annotated.annotation(
                          "/Subtype /FreeText /F 4 /Rect [20 80 180 160] /BS << /W 0 >> /Q 2 "
                          "/DA (/TiRo 20 Tf 1 0 0 rg) /Contents <FEFF00C400720067006500720000>"));
    Annotated plain;
    plain.addPage("1 1 0.8 rg 0 0 1 RG 2 w 21 81 158 78 re B 0 0 1 rg BT /F1 16 Tf 18.56 TL 24 144 "
                  "Td (Words that do not fit) ' ET",
                  "");
    plain.addPage("", "");
    std::string prepared = preparePdf(annotated.pdf.build()).pdf;
    std::string text = textOf(prepared);
    EXPECT_TRUE(holds(text, "Words that do not fit\nand (stay)")) << text;
    EXPECT_TRUE(holds(text, "\xc3\x84rger")) << text;
    std::string clear = inClear(prepared);
    EXPECT_TRUE(holds(clear, "1 1 0.8 rg")) << clear;
    EXPECT_TRUE(holds(clear, "/BaseFont /Times-Roman"));
}

TEST(Annotations, FieldValuesWithoutAppearanceAreSet)
{
    Annotated document;
    document.pdf.catalogEntries = "/AcroForm << /Fields [] /DA (/Helv 0 Tf 0 g) /DR << /Font << "
                                  "/Helv " +
                                  document.font + " >> >> >>";
    const std::string field = "/Subtype /Widget /F 4 /Rect [20 20 180 44] ";
    document.addPage("", document.annotation(field + "/FT /Tx /V (left) /DA (/Helv 12 Tf 0 g)"));
    document.addPage("", document.annotation(field + "/FT /Tx /V (middle) /Q 1"));
    document.addPage("", document.annotation(field + "/FT /Tx /V (cells) /Ff 16777216 /MaxLen 10"));
    document.addPage("", document.annotation(
                             "/Subtype /Widget /F 4 /Rect [20 20 120 90] /FT /Tx /Ff 4096 /V (more "
                             "than one line of text) /DA (/Helv 12 Tf 0 g)"));
    document.addPage("", document.annotation(field + "/FT /Ch /Ff 131072 /V (two) /Opt [(one) "
                                                     "(two)] /DA (/Helv 12 Tf 0 g)"));
    document.addPage("", document.annotation(field + "/FT /Tx /Ff 8192 /V (secret)"));
    document.addPage("", document.annotation(field + "/FT /Tx /MK << /BC [1 0 0] /BG [0.9] >>"));
    std::string prepared = preparePdf(document.pdf.build()).pdf;
    std::string text = textOf(prepared);
    for (const char *word : {"left", "middle", "more than one\nline of text", "two"})
        EXPECT_TRUE(holds(text, word)) << word << " in " << text;
    EXPECT_TRUE(std::regex_search(text, std::regex("c\\s*e\\s*l\\s*l\\s*s"))) << text;
    EXPECT_FALSE(holds(text, "secret"));
    EXPECT_TRUE(holds(inClear(prepared), "0.9 g"));
}

TEST(Annotations, FieldValuesAreSetAnewWhereTheDocumentAsks)
{
    for (bool asks : {false, true}) {
        Annotated document;
        document.pdf.catalogEntries = "/AcroForm << /Fields [] /NeedAppearances " +
                                      std::string(asks ? "true" : "false") +
                                      " /DR << /Font << /Helv " + document.font + " >> >> >>";
        std::string old = ref(document.pdf.addStream(
            "/Subtype /Form /BBox [0 0 160 24] /Resources << /Font << /Helv " + document.font +
                " >> >>",
            "/Tx BMC BT /Helv 12 Tf 2 6 Td (old) Tj ET EMC"));
        std::string text = textOf(
            preparePdf(document.build("/Subtype /Widget /F 4 /Rect [20 20 180 44] /FT /Tx /V (new) "
                                      "/DA (/Helv 12 Tf 0 g) /AP << /N " +
                                          old + " >>",
                                      ""))
                .pdf);
        EXPECT_EQ(holds(text, "new"), asks) << text;
        EXPECT_EQ(holds(text, "old"), !asks) << text;
    }
}

TEST(Annotations, FontsInAppearancesAreLoweredLikeOthers)
{
    Annotated document;
    std::string font = ref(document.pdf.add(
        "<< /Type /Font /Subtype /Type0 /BaseFont /Helvetica /Encoding /Identity-H "
        "/DescendantFonts [<< /Type /Font /Subtype /CIDFontType2 /BaseFont /Helvetica "
        "/CIDSystemInfo << /Registry (Adobe) /Ordering (Identity) /Supplement 0 >> >>] >>"));
    std::string form = ref(document.pdf.addStream(
        "/Subtype /Form /BBox [0 0 100 20] /Resources << /Font << /T0 " + font + " >> >>",
        "BT /T0 12 Tf (\\000A) Tj ET"));
    Preparation made = preparePdf(
        document.build("/Subtype /Stamp /F 4 /Rect [20 20 120 40] /AP << /N " + form + " >>"));
    EXPECT_EQ(made.status, 0);
    EXPECT_FALSE(holds(inClear(made.pdf), "/Type0"));
}

TEST(Annotations, HostileOnesAreLeftOut)
{
    const char *entries[] = {
        "/Subtype /Square /C [1 0 0]",
        "/Subtype /Square /C [1 0 0] /Rect [1 2 3]",
        "/Subtype /Line /Rect [0 0 9 9]",
        "/Subtype /Ink /InkList 7 /Rect [0 0 9 9]",
        "/Subtype /Ink /InkList [[] 7 [(x)]] /Rect [0 0 9 9]",
        "/Subtype /Polygon /Vertices [1] /C [1 0 0] /Rect [0 0 9 9]",
        "/Subtype /PolyLine /Vertices [1 2 null] /Rect [0 0 9 9]",
        "/Subtype /Highlight /Rect [0 0 9 9] /C 3",
        "/Subtype /Widget /Rect [0 0 9 9]",
        "/Subtype /Widget /Rect [0 0 9 9] /FT /Tx /V 9 /DA 3",
        "/Subtype /Stamp /Rect [0 0 0 9] /AP << /N 3 >>",
        "/Subtype 5",
    };
    for (const char *text : entries) {
        Annotated document;
        std::string pdf = document.build("/F 4 " + std::string(text));
        Preparation made = preparePdf(pdf);
        EXPECT_EQ(made.status, 0) << text;
        EXPECT_EQ(made.messages, std::vector<std::string>()) << text;
    }
    for (const char *form : {"/BBox [0 0 0 10]", "/BBox [1 2]", "/BBox [0 0 10 10] /Matrix [1 0]",
                             "", "/BBox [0 0 10 10] /Matrix [0 0 0 0 0 0]"}) {
        Annotated document;
        std::string stream =
            document.appearance("0 0 10 10 re f", "/Subtype /Form " + std::string(form));
        EXPECT_EQ(probePdf(document.build("/Subtype /Stamp /F 4 /Rect [20 20 80 80] /AP << /N " +
                                          stream + " >>")),
                  0)
            << form;
    }
}

TEST(Annotations, HugeNumbersAreClamped)
{
    Annotated document;
    std::string huge(60, '9');
    Preparation made =
        preparePdf(document.build("/Subtype /Line /F 4 /Rect [0 0 1 1] /L [0 0 " + huge + ".0 -" +
                                  huge + ".0] /BS << /W " + huge + ".0 >> /LE [/Circle /Slash]"));
    EXPECT_EQ(made.status, 0);
    EXPECT_TRUE(holds(inClear(made.pdf), "1000000 -1000000 l"));
}

TEST(Annotations, FieldsInALoopEnd)
{
    Annotated document;
    int field = document.pdf.reserve();
    document.pdf.set(field, "<< /Parent " + ref(field) + " /Kids [" + ref(field) + "] >>");
    Preparation made = preparePdf(document.build(
        "/Subtype /Widget /F 4 /Rect [20 20 80 80] /MK << /BG [1 0 0] >> /Parent " + ref(field)));
    EXPECT_EQ(made.status, 0);
    expectSamePages(plainPage(TEXT + std::string("1 0 0 rg 20 20 60 60 re f")), made.pdf);
}

TEST(Annotations, FieldsFarBelowTheirParentsAreNotWalkedUp)
{
    /* What a field inherits is asked for once for each ancestor; the values of these 2,000 widgets
     * would be looked for 2,000 levels up. */
    Annotated document;
    std::string parent = ref(document.pdf.add("<< /FT /Tx /T (top) /V (deep) >>"));
    const std::string shallow = parent;
    for (int i = 0; i < 2000; i++)
        parent = ref(document.pdf.add("<< /T (t) /Parent " + parent + " >>"));
    std::string widget = "/Subtype /Widget /Rect [20 20 80 40] /DA (/Helv 12 Tf) /Parent ";
    std::string annotations = document.annotation(widget + shallow);
    for (int i = 0; i < 2000; i++)
        annotations += " " + document.annotation(widget + parent);
    document.addPage(TEXT, annotations);
    Preparation made = preparePdf(document.pdf.build());
    EXPECT_EQ(made.status, 0);
    for (const std::string &line : made.messages)
        EXPECT_EQ(line.find("-ANNOT"), std::string::npos) << line;
}

TEST(Annotations, ManyOfThemAreBounded)
{
    Annotated document;
    std::string square =
        document.annotation("/Subtype /Square /F 4 /Rect [20 20 80 80] /C [1 0 0]");
    std::string many;
    for (int i = 0; i < 100001; i++)
        many += square + " ";
    document.addPage(TEXT, many);
    /* One stroke that is listed again and again. */
    std::string stroke = "[";
    for (int i = 0; i < 5000; i++)
        stroke += "20 20 80 80 ";
    stroke = ref(document.pdf.add(stroke + "]"));
    std::string strokes;
    for (int i = 0; i < 5000; i++)
        strokes += stroke + " ";
    document.addPage(TEXT, document.annotation("/Subtype /Ink /F 4 /Rect [0 0 99 99] /InkList [" +
                                               strokes + "]"));
    Preparation made = preparePdf(document.pdf.build());
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages,
              (std::vector<std::string>{
                  "PREPARE-L-ANNOTCOUNT: Page 1: The page has too many annotations; those "
                  "after the first 100000 are missing.",
                  "PREPARE-L-ANNOTATION: Page 2: Annotations of the page are missing. "
                  "The page's annotations are too large."}));
    EXPECT_LT(made.pdf.size(), 1000000u);
}
