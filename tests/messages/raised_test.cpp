/*
 * raised_test.cpp - every message of the table, raised by a document through the real programs
 *
 * A row of seam/messages.def without a raiser here fails.  Each raiser runs pdf_print (or the print
 * system's filter) on a document, or in surroundings, that bring the message about; then its
 * sentence is looked for, with the page where it has one, and the status that its severity has.
 */
#include <filesystem>
#include <functional>
#include <map>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <zlib.h>

#include "seam/messages.h"
#include "tests/prepare/fonts.h"
#include "tests/prepare/images.h"
#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace {

using seam::Message;
using seam::Severity;
using Words = std::vector<std::string>;

struct Raised {
    int status;
    Words lines; /* of standard error */
    bool isFilter = false;
    bool isPreparation = false; /* pdf_prepare by itself, which does not tell by its status */
};

Words linesOf(const std::string &text)
{
    Words lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

Raised raised(const ProgramResult &result)
{
    return {result.status, linesOf(result.err)};
}

/* Prints a document, with what it says in full. */
Raised print(const std::string &bytes, const Words &options = {},
             const std::map<std::string, std::string> &environment = {}, long megabytes = 0)
{
    ProgramOptions settings;
    settings.environment = environment;
    settings.memoryMegabytes = megabytes;
    Words all = {"-v"};
    all.insert(all.end(), options.begin(), options.end());
    PrintRun run = printPdf(bytes, all, settings);
    return {run.status, run.messages};
}

/* Prepares a document for nobody's job. */
Raised prepare(const std::string &bytes)
{
    Preparation made = preparePdf(bytes);
    Raised run = {made.status, made.messages};
    run.isPreparation = true;
    return run;
}

/* The same with an output of the test's own choice. */
Raised printWith(const Words &output, const std::string &bytes,
                 const std::map<std::string, std::string> &environment = {})
{
    ScratchDirectory directory;
    Words command = {printProgramPath()};
    command.insert(command.end(), output.begin(), output.end());
    command.push_back(directory.write("doc.pdf", bytes));
    ProgramOptions settings;
    settings.environment = environment;
    return raised(runProgram(command, settings));
}

/* The same behind commands of the shell, such as "ulimit -t 1;". */
Raised printAfter(const std::string &shell, const std::string &bytes,
                  const std::string &input = "doc.pdf")
{
    ScratchDirectory directory;
    directory.write("doc.pdf", bytes);
    ProgramOptions settings;
    settings.directory = directory.path;
    return raised(runProgram(
        {"bash", "-c", shell + " exec " + printProgramPath() + " -o job.ps " + input}, settings));
}

std::string script(const ScratchDirectory &directory, const std::string &name,
                   const std::string &text)
{
    std::string path = directory.write(name, "#!/bin/sh\n" + text + "\n");
    chmod(path.c_str(), 0755);
    return path;
}

/* pdf_print alone in a directory, with this in the place of pdf_prepare; empty: nothing. */
Raised printBeside(const std::string &preparation)
{
    ScratchDirectory directory;
    std::filesystem::copy_file(printProgramPath(), directory / "pdf_print");
    if (!preparation.empty())
        script(directory, "pdf_prepare", preparation);
    directory.write("doc.pdf", onePagePdf("0 0 9 9 re f"));
    ProgramOptions settings;
    settings.directory = directory.path;
    settings.environment = {{"PATH", "/nonexistent"}};
    return raised(runProgram({directory / "pdf_print", "doc.pdf"}, settings));
}

/* The print system's filter, with this in the place of pdftopdf; empty: nothing. */
Raised filterBeside(const std::string &layout)
{
    ScratchDirectory directory;
    mkdir((directory / "filter").c_str(), 0755);
    if (!layout.empty())
        script(directory, "filter/pdftopdf", layout);
    std::string document = directory.write("doc.pdf", onePagePdf("0 0 9 9 re f"));
    std::filesystem::path programs = std::filesystem::path(printProgramPath()).parent_path();
    ProgramOptions settings;
    settings.environment = {{"CUPS_SERVERBIN", directory.path},
                            {"PATH", programs.string() + ":" + getenv("PATH")}};
    Raised run = raised(runProgram(
        {PDF_TO_PS_CUPS_PROGRAM, "1", "me", "title", "1", "number-up=2", document}, settings));
    run.isFilter = true;
    return run;
}

/* ---- documents */

std::string packed(const std::string &data)
{
    uLongf size = compressBound((uLong)data.size());
    std::string bytes(size, '\0');
    compress((Bytef *)bytes.data(), &size, (const Bytef *)data.data(), (uLong)data.size());
    bytes.resize(size);
    return bytes;
}

std::string repeated(const std::string &text, size_t count)
{
    std::string all;
    all.reserve(text.size() * count);
    while (count-- > 0)
        all += text;
    return all;
}

std::string byQpdf(const std::string &pdf, const Words &options)
{
    ScratchDirectory directory;
    Words command = {"qpdf"};
    command.insert(command.end(), options.begin(), options.end());
    command.insert(command.end(), {directory.write("in.pdf", pdf), directory / "out.pdf"});
    runProgram(command);
    return readFile(directory / "out.pdf");
}

std::string pages(int count)
{
    PdfBuilder pdf;
    for (int i = 0; i < count; i++)
        pdf.addPage("/MediaBox [0 0 99 99]");
    return pdf.build();
}

std::string encrypted()
{
    return byQpdf(pages(1), {"--encrypt", "secret", "owner", "256", "--"});
}

/* A page tree that holds itself. */
std::string loop()
{
    PdfBuilder pdf;
    pdf.set(2, "<< /Type /Pages /Kids [2 0 R] /Count 1 >>");
    return pdf.build();
}

std::string nullKid()
{
    PdfBuilder pdf;
    int page = pdf.addPage("/MediaBox [0 0 99 99]");
    pdf.set(2, "<< /Type /Pages /Kids [" + ref(page) + " null] /Count 2 >>");
    return pdf.build();
}

/* Content of so many bytes that takes its time. */
std::string longContent(size_t bytes)
{
    PdfBuilder pdf;
    const std::string piece = "1 0 0 1 0 0 cm\n";
    int content =
        pdf.addStream("/Filter /FlateDecode", packed(repeated(piece, bytes / piece.size())));
    pdf.addPage("/MediaBox [0 0 99 99] /UserUnit 2 /Contents " + ref(content));
    return pdf.build();
}

std::string brokenContents(int count)
{
    PdfBuilder pdf;
    for (int i = 0; i < count; i++)
        pdf.addPage(
            "/MediaBox [0 0 99 99] /Contents " +
            ref(pdf.add("<< /Length 5 /Filter /NoSuchFilter >>\nstream\nabcde\nendstream")));
    return pdf.build();
}

const char FORM[] = "/Type /XObject /Subtype /Form /BBox [0 0 200 200] ";

/* A page that calls a form. */
std::string formPage(PdfBuilder *pdf, const std::string &entries, const std::string &data)
{
    std::string form = ref(pdf->addStream(FORM + entries, data));
    int content = pdf->addStream("", "/X Do");
    pdf->addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                 " /Resources << /XObject << /X " + form + " >> >>");
    return pdf->build();
}

/* A page whose content is a stream without its data. */
std::string lostContent()
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 99 99] /Contents [" + ref(pdf.add("<< /Length 5 >>")) + "]");
    return pdf.build();
}

/* A table of very many objects, which is kept in memory. */
std::string longTable()
{
    constexpr size_t MORE = 2000000;
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 99 99]");
    std::string text = pdf.build();
    size_t head = text.find("\n0 ", pdf.xrefOffset()) + 3;
    size_t count = (size_t)std::stoi(text.substr(head));
    text.replace(head, std::to_string(count).size(), std::to_string(count + MORE));
    text.insert(text.find("trailer"), repeated("0000000000 65535 f \n", MORE));
    size_t size = text.find("/Size ") + 6;
    return text.replace(size, std::to_string(count).size(), std::to_string(count + MORE));
}

std::string brokenForm()
{
    PdfBuilder pdf;
    return formPage(&pdf, "/Filter /NoSuchFilter ", "abc");
}

std::string deepForms()
{
    PdfBuilder pdf;
    std::string inner = ref(pdf.addStream(FORM, "0 0 9 9 re f"));
    for (int i = 0; i < 15; i++)
        inner = ref(pdf.addStream(
            FORM + std::string("/Resources << /XObject << /X ") + inner + " >> >>", "/X Do"));
    int content = pdf.addStream("", "/X Do");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                " /Resources << /XObject << /X " + inner + " >> >>");
    return pdf.build();
}

/* Two pages with the same form. */
std::string sharedForm(const std::string &content)
{
    PdfBuilder pdf;
    std::string form = ref(pdf.addStream(FORM, content));
    for (int i = 0; i < 2; i++)
        pdf.addPage("/MediaBox [0 0 200 200] /Resources << /XObject << /X " + form +
                    " >> >> /Contents " + ref(pdf.addStream("", "/X Do")));
    return pdf.build();
}

std::string longPath()
{
    return onePagePdf("0 0 m " + repeated("1 1 l ", 1000000) + "S");
}

/* A form that paints another one often, each time in another font around it. */
std::string manyCopies()
{
    constexpr int FONTS = 600;
    PdfBuilder pdf;
    int glyphs = pdf.add("<< /Type /Font /Subtype /CIDFontType2 /BaseFont /Arial /CIDSystemInfo << "
                         "/Registry (Adobe) /Ordering (Identity) /Supplement 0 >> >>");
    int text = pdf.addForm("BT 10 10 Td <0041> Tj ET");
    std::string fonts, content;
    for (int i = 0; i < FONTS; i++) {
        std::string name = "/F" + std::to_string(i);
        fonts +=
            name + " " +
            ref(pdf.add("<< /Type /Font /Subtype /Type0 /BaseFont /Arial /Encoding /Identity-H "
                        "/DescendantFonts [" +
                        ref(glyphs) + "] >>")) +
            " ";
        content += "BT " + name + " 9 Tf ET /T Do\n";
    }
    int often = pdf.addForm(content, "/BBox [0 0 200 200] /Resources << /Font << " + fonts +
                                         ">> /XObject << /T " + ref(text) + " >> >>");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(pdf.addStream("", "/X Do")) +
                " /Resources << /XObject << /X " + ref(often) + " >> >>");
    return pdf.build();
}

std::string annotated(PdfBuilder *pdf, const std::string &annotations)
{
    pdf->addPage("/MediaBox [0 0 99 99] /Annots [" + annotations + "]");
    return pdf->build();
}

std::string manyAnnotations()
{
    PdfBuilder pdf;
    std::string square =
        ref(pdf.add("<< /Type /Annot /Subtype /Square /F 4 /Rect [20 20 80 80] /C [1 0 0] >>"));
    return annotated(&pdf, repeated(square + " ", 100001));
}

std::string largeAnnotations()
{
    PdfBuilder pdf;
    std::string stroke = ref(pdf.add("[" + repeated("20 20 80 80 ", 5000) + "]"));
    std::string ink =
        ref(pdf.add("<< /Type /Annot /Subtype /Ink /F 4 /Rect [0 0 99 99] /InkList [" +
                    repeated(stroke + " ", 5000) + "] >>"));
    return annotated(&pdf, ink);
}

const char LINE_IN_PATTERN[] = "/Pattern CS /P SCN 12 w 30 30 m 170 30 l 100 170 l s";
const char FILL_WITH_PATTERN[] = "/Pattern cs /P scn 10 10 180 180 re f";

std::string patternPage(const std::string &content, const std::string &box = "0 0 18 18")
{
    PdfBuilder pdf;
    std::string pattern = ref(pdf.addStream("/PatternType 1 /PaintType 1 /TilingType 1 /BBox [" +
                                                box + "] /XStep 9 /YStep 9 /Resources << >>",
                                            "1 0 0 rg 2 2 8 8 re f"));
    int stream = pdf.addStream("", content);
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) +
                " /Resources << /Pattern << /P " + pattern + " >> >>");
    return pdf.build();
}

std::string lineInAForm()
{
    PdfBuilder pdf;
    std::string pattern = ref(pdf.addStream("/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 "
                                            "18 18] /XStep 18 /YStep 18 /Resources << >>",
                                            "1 0 0 rg 2 2 8 8 re f"));
    return formPage(&pdf, "/Resources << /Pattern << /P " + pattern + " >> >>", LINE_IN_PATTERN);
}

const char GRAY_MESH[] = "/ShadingType 4 /ColorSpace /DeviceGray /BitsPerCoordinate 8 "
                         "/BitsPerComponent 8 /BitsPerFlag 8 /Decode [0 200 0 200 0 1] ";

/* One page that paints a shading of these entries and data. */
std::string shadingPage(const std::string &entries, const std::string &data,
                        const std::string &filter = "")
{
    PdfBuilder pdf;
    std::string shading = ref(pdf.addStream(entries + filter, data));
    int content = pdf.addStream("", "/S sh");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                " /Resources << /Shading << /S " + shading + " >> >>");
    return pdf.build();
}

/* Vertices of a mesh: a triangle, and one more for each further vertex. */
std::string triangles(size_t count)
{
    const char first[] = {0, 0, 0, 0, 0, (char)200, 0, 100, 0, 100, (char)200, (char)255};
    std::string data(first, sizeof first);
    const std::string more[] = {std::string("\x01\x00\x00\x10", 4),
                                std::string("\x01\xff\x00\x80", 4),
                                std::string("\x01\x80\xff\xf0", 4)};
    for (size_t i = 0; i < count; i++)
        data += more[i % 3];
    return data;
}

/* Text of one character in a font that is drawn by procedures, half transparent on black. */
std::string transparentGlyphs()
{
    PdfBuilder pdf;
    std::string glyph =
        ref(pdf.addStream("", "1000 0 d0 0 0 900 900 re f /H gs 1 0 0 rg 100 100 800 800 re f "
                              "/Pattern cs /P scn 0 0 500 500 re f"));
    std::string pattern = ref(pdf.addStream("/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 "
                                            "90 90] /XStep 90 /YStep 90 /Resources << >>",
                                            "1 0 0 rg 2 2 40 40 re f"));
    std::string font = ref(
        pdf.add("<< /Type /Font /Subtype /Type3 /FontBBox [0 0 1000 1000] /FontMatrix [0.001 0 0 "
                "0.001 0 0] /FirstChar 97 /LastChar 97 /Widths [1000] /Encoding << /Differences "
                "[97 /a] >> /Resources << /ExtGState << /H << /ca 0.5 >> >> /Pattern << /P " +
                pattern + " >> >> /CharProcs << /a " + glyph + " >> >>"));
    int content = pdf.addStream("", "BT /T 80 Tf 20 60 Td (a) Tj ET");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                " /Resources << /Font << /T " + font + " >> >>");
    return pdf.build();
}

std::string imagePage(PdfBuilder *pdf, const std::string &image)
{
    int content = pdf->addStream("", "100 0 0 100 20 20 cm /Im Do");
    pdf->addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                 " /Resources << /XObject << /Im " + image + " >> >>");
    return pdf->build();
}

std::string jbig2(const std::string &data, int width, int height)
{
    PdfBuilder pdf;
    return imagePage(
        &pdf, ref(pdf.addStream("/Type /XObject /Subtype /Image /Width " + std::to_string(width) +
                                    " /Height " + std::to_string(height) +
                                    " /BitsPerComponent 1 /ColorSpace /DeviceGray "
                                    "/Filter /JBIG2Decode",
                                data)));
}

/* A picture whose soft mask has no data. */
std::string brokenMask()
{
    PdfBuilder pdf;
    std::string entries = "/Type /XObject /Subtype /Image /Width 2 /Height 2 /BitsPerComponent 8 "
                          "/ColorSpace /DeviceGray ";
    std::string mask = ref(pdf.addStream(entries + "/Filter /DCTDecode", "nothing"));
    return imagePage(&pdf, ref(pdf.addStream(entries + "/SMask " + mask, "abcd")));
}

/* A TrueType program as a simple font's. */
std::string trueTypePage(const std::string &program)
{
    PdfBuilder pdf;
    std::string file = ref(pdf.addStream("", program));
    std::string descriptor =
        ref(pdf.add("<< /Type /FontDescriptor /FontName /Simple /Flags 32 /FontBBox [0 -200 1000 "
                    "900] /ItalicAngle 0 /Ascent 900 /Descent -200 /CapHeight 700 /StemV 80 "
                    "/FontFile2 " +
                    file + " >>"));
    std::string font = ref(pdf.add("<< /Type /Font /Subtype /TrueType /BaseFont /Simple /FirstChar "
                                   "65 /LastChar 66 /Widths [600 600] /Encoding /WinAnsiEncoding "
                                   "/FontDescriptor " +
                                   descriptor + " >>"));
    int content = pdf.addStream("", "BT /F 20 Tf 20 60 Td (AB) Tj ET");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                " /Resources << /Font << /F " + font + " >> >>");
    return pdf.build();
}

/* The font with nonsense in the place of all outlines. */
std::string withoutOutlines(std::string program)
{
    auto number = [&](size_t at) {
        return (size_t)(unsigned char)program[at] << 24 |
               (size_t)(unsigned char)program[at + 1] << 16 |
               (size_t)(unsigned char)program[at + 2] << 8 | (size_t)(unsigned char)program[at + 3];
    };
    size_t entry = program.find("glyf");
    size_t begin = number(entry + 8), length = number(entry + 12);
    std::fill(program.begin() + (long)begin, program.begin() + (long)(begin + length), '\x7f');
    return program;
}

std::string notEmbedded(const std::string &encoding)
{
    CompositeSettings settings;
    settings.encoding = encoding;
    settings.isEmbedded = encoding != "/Identity-H";
    return compositePdf("BT /F1 20 Tf 10 150 Td <0024> Tj ET", settings);
}

Raised printWithLp(const std::string &lp)
{
    ScratchDirectory directory;
    std::string path = directory.path;
    if (!lp.empty())
        script(directory, "lp", lp);
    return printWith({"-d", "office"}, onePagePdf("0 0 9 9 re f"),
                     {{"PATH", lp.empty() ? "/nonexistent" : path + ":" + getenv("PATH")}});
}

Raised printWithRenderer(const std::string &pdftoppm)
{
    ScratchDirectory directory;
    script(directory, "pdftoppm", pdftoppm);
    return print(patternPage(LINE_IN_PATTERN), {}, {{"PATH", directory.path}});
}

/* A stroke that lies on paper and on a square, blended by hue. */
std::string hues()
{
    return onePagePdf("1 0 0 rg 20 20 60 60 re f /G gs 0 1 0 RG 9 w 10 50 m 150 50 l S",
                      "/Resources << /ExtGState << /G << /BM /Hue >> >> >>");
}

Raised printWithoutGhostscript(const std::string &pdf)
{
    ScratchDirectory directory;
    script(directory, "pdftoppm", "PATH=" + std::string(getenv("PATH")) + " exec pdftoppm \"$@\"");
    return print(pdf, {}, {{"PATH", directory.path}});
}

std::string damagedTable()
{
    std::string pdf = pages(1);
    return pdf.replace(pdf.find("startxref\n") + 10, 3, "999");
}

const std::map<Message, std::function<Raised()>> &raisers()
{
    static const std::map<Message, std::function<Raised()>> all = {
        {Message::InputUnreadable,
         [] {
             return raised(runProgram({printProgramPath(), "/nonexistent.pdf"}));
         }},
        {Message::PasswordNeeded, [] { return print(encrypted()); }},
        {Message::InputEmpty, [] { return print(""); }},
        {Message::InputOther, [] { return print("\x89PNG\r\n\x1a\n and so on"); }},
        {Message::PasswordWrong,
         [] {
             return printAfter("echo wrong >word;", encrypted(), "--password-file=word doc.pdf");
         }},
        {Message::PasswordUnreadable,
         [] { return print(encrypted(), {"--password-file=/nonexistent"}); }},
        {Message::DocumentUnreadable, [] { return print("\x01 this is a letter\n"); }},
        {Message::NoPages, [] { return print(loop()); }},
        {Message::TreeDamaged, [] { return print(nullKid()); }},
        {Message::PagesNotThere, [] { return print(pages(2), {"--pages=5"}); }},
        {Message::PagesTooMany,
         [] {
             std::string list = "1-1000";
             for (int i = 1; i < 1001; i++)
                 list += ",1-1000";
             return print(pages(1000), {"--pages=" + list});
         }},
        {Message::NoEvenPage,
         [] {
             return print(pages(1), {"--pages=1", "--page-set=even"});
         }},
        {Message::PagesNotInOrder,
         [] {
             return print(pages(2), {"--no-prepare", "--pages=2,z"});
         }},
        {Message::PartNotThere, [] { return print(pages(2), {"--pages=1,5"}); }},
        {Message::PartsNotThere,
         [] {
             std::string list = "1";
             for (int i = 100; i < 130; i++)
                 list += "," + std::to_string(i);
             return print(pages(2), {"--pages=" + list});
         }},
        {Message::NotOnePage, [] { return print(pages(2), {"--eps"}); }},
        {Message::TooSlow, [] { return printAfter("ulimit -t 1;", longContent(200000000)); }},
        {Message::TooLarge,
         [] { return print("\x01" + repeated("no document\n", 15000000), {}, {}, 160); }},
        {Message::NotPrepared,
         [] {
             return printAfter("ulimit -f 1;", byQpdf(pages(40), {"--object-streams=generate"}));
         }},
        {Message::Strict, [] { return print(brokenContents(1), {"--strict"}); }},
        {Message::InputNotKept, [] { return printAfter("ulimit -f 0;", "", "- </dev/zero"); }},
        {Message::NoTemporaryFiles,
         [] {
             return print(pages(1), {}, {{"KV_TMP", "/nonexistent"}, {"TMPDIR", "/nonexistent"}});
         }},
        {Message::OutputNotOpened,
         [] {
             return printWith({"-o", "/nonexistent/job.ps"}, pages(1));
         }},
        {Message::OutputFailed,
         [] {
             return printWith({"-o", "/dev/full"}, pages(1));
         }},
        {Message::OutputTooLarge, [] { return print(pages(1), {"--max-output=2K"}); }},
        {Message::OutOfMemory, [] { return print(longTable(), {"--no-prepare"}, {}, 16); }},
        {Message::NoPreparation, [] { return printBeside(""); }},
        {Message::PreparationNotStarted, [] { return printAfter("ulimit -n 6;", pages(1)); }},
        {Message::Unexplained, [] { return printBeside("exit 9"); }},
        {Message::PrintSystemMissing, [] { return printWithLp(""); }},
        {Message::PrintSystemRefused, [] { return printWithLp("exit 1"); }},
        {Message::LayoutFailed, [] { return filterBeside("exit 1"); }},
        {Message::FontMissing, [] { return print(notEmbedded("/Identity-H")); }},
        {Message::EncodingMissing, [] { return print(notEmbedded("/No-Such-H")); }},
        {Message::FontReplaced, [] { return print(trueTypePage(trueTypeFile().substr(0, 200))); }},
        {Message::GlyphsMissing,
         [] { return print(trueTypePage(withoutOutlines(trueTypeFile()))); }},
        {Message::PictureMissing, [] { return print(jbig2("nothing", 40, 40)); }},
        {Message::PictureCut, [] { return print(jbig2(jbig2Word().page, 64, 56)); }},
        {Message::ContentCut, [] { return print(brokenContents(1)); }},
        {Message::StreamCut, [] { return print(brokenForm()); }},
        {Message::FormsTooDeep, [] { return prepare(deepForms()); }},
        {Message::FormsCut, [] { return print(deepForms()); }},
        {Message::FormsLeftOut, [] { return print(manyCopies()); }},
        {Message::ContentLost, [] { return print(onePagePdf("/Nothing Tj 0 0 9 9 re f")); }},
        {Message::ContentMended, [] { return print(onePagePdf("1 2 m 3 l S")); }},
        {Message::PageUndone, [] { return prepare(longContent(300000000)); }},
        {Message::PageDrawn, [] { return print(longContent(300000000)); }},
        {Message::PageBlank,
         [] {
             return print(longContent(300000000), {}, {{"PATH", "/nonexistent"}});
         }},
        {Message::PageCut, [] { return print(lostContent(), {"--no-prepare"}); }},
        {Message::PageRefused, [] { return print(onePagePdf("{ quit }"), {"--no-prepare"}); }},
        {Message::PageTooMuch, [] { return print(longPath(), {"--no-prepare"}); }},
        {Message::PartRefused, [] { return print(sharedForm("{ quit }"), {"--no-prepare"}); }},
        {Message::AnnotationsTooMany, [] { return print(manyAnnotations()); }},
        {Message::AnnotationsCut, [] { return print(largeAnnotations()); }},
        {Message::PatternPlain,
         [] {
             return print(patternPage(FILL_WITH_PATTERN, "-99999999 -99999999 99999999 99999999"));
         }},
        {Message::PatternPlainInForm, [] { return print(lineInAForm()); }},
        {Message::ShadingCut, [] { return print(shadingPage(GRAY_MESH, triangles(300000))); }},
        {Message::ShadingTooSlow, [] { return print(shadingPage(GRAY_MESH, triangles(250000))); }},
        {Message::ShadingDamaged,
         [] {
             std::string data = packed(triangles(200));
             return print(shadingPage(GRAY_MESH,
                                      data.substr(0, data.size() - 8) + "\xff\xff\xff\xff",
                                      "/Filter /FlateDecode"));
         }},
        {Message::ShadingMissing,
         [] { return print(shadingPage("/ShadingType 2 /ColorSpace /DeviceRGB ", "")); }},
        {Message::PaintedOpaque, [] { return print(transparentGlyphs()); }},
        {Message::RendererMissing,
         [] {
             return print(patternPage(LINE_IN_PATTERN), {}, {{"PATH", "/nonexistent"}});
         }},
        {Message::RendererFailed, [] { return printWithRenderer("exit 1"); }},
        {Message::BlendedOtherwise, [] { return printWithoutGhostscript(hues()); }},
        {Message::LayoutMissing, [] { return filterBeside(""); }},
        {Message::ForeignLine,
         [] { return printBeside("echo 'out of cheese' >&2; exec " + preparePath() + " \"$@\""); }},
        {Message::Damaged, [] { return print(damagedTable()); }},
        {Message::More, [] { return print(brokenContents(250)); }},
        {Message::RegionDrawn, [] { return print(patternPage(LINE_IN_PATTERN)); }},
        {Message::PictureDrawn, [] { return print(brokenMask()); }},
    };
    return all;
}

/* The sentence as an expression: anything may stand in its places. */
std::regex expressionOf(const std::string &sentence)
{
    std::string text;
    bool isPlace = false;
    for (char c : sentence) {
        if (c == '{')
            text += ".+";
        isPlace = c == '{' || (isPlace && c != '}');
        if (isPlace || c == '}')
            continue;
        if (!isalnum((unsigned char)c) && c != ' ')
            text += '\\';
        text += c;
    }
    return std::regex(text + "$");
}

/* Losses that are the document's and no page's. */
bool isOfDocument(Message message)
{
    return message == Message::FontReplaced || message == Message::GlyphsMissing ||
           message == Message::ForeignLine || message == Message::LayoutMissing ||
           message == Message::TreeDamaged;
}

int statusOf(const seam::MessageRow &row, const Raised &run)
{
    if (row.severity == Severity::ERROR)
        return 1;
    if (run.isFilter || run.isPreparation)
        return 0;
    return row.severity == Severity::LOSS || row.message == Message::More ? 3 : 0;
}

class EachMessage : public testing::TestWithParam<Message> {};

TEST_P(EachMessage, IsRaisedByADocument)
{
    const seam::MessageRow &row = rowOf(GetParam());
    auto raiser = raisers().find(row.message);
    ASSERT_TRUE(raiser != raisers().end()) << row.code << " is raised by no document of the tests";
    Raised run = raiser->second();
    if ((row.message == Message::PageRefused || row.message == Message::PartRefused) &&
        run.status == 0)
        GTEST_SKIP() << "documents are not canonical yet";
    std::string said;
    const std::string *found = nullptr;
    std::regex expression = expressionOf(row.sentence);
    for (const std::string &line : run.lines) {
        said += line.substr(0, 300) + "\n";
        if (!found && std::regex_search(line, expression))
            found = &line;
    }
    ASSERT_TRUE(found) << row.sentence << "\nis not among\n" << said;
    EXPECT_EQ(run.status, statusOf(row, run)) << said;
    bool hasPage = std::regex_search(*found, std::regex(": [Pp]age [0-9]+: "));
    EXPECT_EQ(hasPage, (row.severity == Severity::LOSS && !isOfDocument(row.message)) ||
                           row.severity == Severity::DETAIL ||
                           row.message == Message::ContentMended)
        << *found;
}

INSTANTIATE_TEST_SUITE_P(Messages, EachMessage, testing::ValuesIn([] {
                             std::vector<Message> all;
                             for (const seam::MessageRow &row : seam::messages())
                                 all.push_back(row.message);
                             return all;
                         }()),
                         [](const testing::TestParamInfo<Message> &one) {
                             return std::string(rowOf(one.param).code);
                         });

} // namespace
