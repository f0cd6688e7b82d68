/*
 * producers_test.cpp - documents that independent programs write
 *
 * Each is made here, by the program itself, and so is what that program writes today.
 */
#include <cairo-pdf.h>

#include "tests/documents/printed_document.h"

namespace {

/* A document of groff's PDF device: text in several fonts, a table with rules. */
std::string groffDocument()
{
    const std::string source = ".TL\nA document of groff\n.AU\nSomebody\n.NH\nFirst section\n.PP\n"
                               "Some \\fBbold\\fP and \\fIitalic\\fP words, a ligature in "
                               "\\(lqoffice\\(rq, and a paragraph that is long enough to be filled "
                               "over more than one line of the page.\n"
                               ".TS\nbox; c | c.\none\ttwo\n_\nthree\tfour\n.TE\n"
                               ".bp\n.PP\nA second page in \\f(CWtypewriter letters\\fP.\n";
    ProgramOptions options;
    options.input = source;
    ProgramResult result = runProgram({"groff", "-t", "-ms", "-Tpdf"}, options);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
}

/* Collects what a surface writes. */
cairo_status_t appendTo(void *text, const unsigned char *bytes, unsigned count)
{
    static_cast<std::string *>(text)->append(reinterpret_cast<const char *>(bytes), count);
    return CAIRO_STATUS_SUCCESS;
}

void drawWithCairo(cairo_t *cairo)
{
    cairo_set_source_rgb(cairo, 0.8, 0.1, 0.1);
    cairo_rectangle(cairo, 40, 40, 120, 60);
    cairo_fill(cairo);
    cairo_set_source_rgb(cairo, 0.1, 0.1, 0.6);
    cairo_set_line_width(cairo, 5);
    const double dashes[] = {15, 8};
    cairo_set_dash(cairo, dashes, 2, 0);
    cairo_arc(cairo, 260, 90, 50, 0, 5);
    cairo_stroke(cairo);
    cairo_move_to(cairo, 40, 200);
    cairo_curve_to(cairo, 120, 120, 200, 280, 320, 180);
    cairo_stroke(cairo);
}

/* A document of cairo's PDF surface: line art on two pages of different size. */
std::string cairoDocument()
{
    std::string bytes;
    cairo_surface_t *surface = cairo_pdf_surface_create_for_stream(appendTo, &bytes, 360, 300);
    cairo_pdf_surface_restrict_to_version(surface, CAIRO_PDF_VERSION_1_4);
    cairo_t *cairo = cairo_create(surface);
    drawWithCairo(cairo);
    cairo_show_page(cairo);
    cairo_pdf_surface_set_size(surface, 400, 500);
    cairo_translate(cairo, 30, 100);
    cairo_rotate(cairo, 0.2);
    drawWithCairo(cairo);
    cairo_show_page(cairo);
    cairo_destroy(cairo);
    cairo_surface_finish(surface);
    cairo_surface_destroy(surface);
    return bytes;
}

/* A document of Ghostscript's pdfwrite as PDF 1.2: text with a font that it embeds, lines, an
 * image. */
std::string ghostscriptDocument()
{
    ScratchDirectory directory;
    std::string source = directory.write(
        "in.ps", "%!PS\n/Times-Roman findfont 24 scalefont setfont 72 700 moveto\n"
                 "(Text by Ghostscript, embedded) show\n"
                 "/Courier-Bold findfont 14 scalefont setfont 72 660 moveto (in two fonts) show\n"
                 "4 setlinewidth 72 600 moveto 300 640 lineto stroke\n"
                 "0.2 0.6 0.3 setrgbcolor 72 500 100 60 rectfill\n"
                 "gsave 300 450 translate 150 150 scale\n"
                 "4 4 8 [4 0 0 -4 0 4] {<00408020 60A0C0E0 FF10D050 90B03070>} image grestore\n"
                 "showpage\n/Helvetica findfont 40 scalefont setfont 100 400 moveto\n"
                 "30 rotate (second page) show showpage\n");
    ProgramResult result =
        runProgram({"gs", "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-sDEVICE=pdfwrite",
                    "-dCompatibilityLevel=1.2", "-sOutputFile=" + (directory / "out.pdf"), source});
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    return readFile(directory / "out.pdf");
}

} // namespace

TEST(Producer, GroffPrintsAsItLooks)
{
    expectPrintsAsItLooks(groffDocument(), 2);
}

TEST(Producer, CairoPrintsAsItLooks)
{
    expectPrintsAsItLooks(cairoDocument(), 2);
}

TEST(Producer, GhostscriptPrintsAsItLooks)
{
    expectPrintsAsItLooks(ghostscriptDocument(), 2);
}

TEST(Producer, EachIsReadWithDecodeToo)
{
    for (const std::string &document : {groffDocument(), cairoDocument(), ghostscriptDocument()})
        expectPrintsAsItLooks(document, 2, {"-DECODE"});
}
