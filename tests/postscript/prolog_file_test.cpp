/*
 * prolog_file_test.cpp - the prolog's text: what is built from its source says the same in less
 */
#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/postscript/prolog_parts.h"
#include "tests/support/conversion.h"
#include "tests/support/run_program.h"
#include "tests/support/sample_document.h"

namespace {

using Lines = std::vector<std::string>;

std::string sourceOf(const std::string &file)
{
    return file == "pdf_psprolog.ps" ? prologSource() : readFile(PDF_TO_PS_DATA_SOURCE "/" + file);
}

std::string builtOf(const std::string &file)
{
    return readFile(PDF_TO_PS_DATA "/" + file);
}

/* Every object of a PostScript file as text, in the order of the file.  Names with // count as
 * literal ones: nothing is defined here that they could stand for. */
std::string objectsOf(std::string postscript)
{
    for (size_t at = 0; (at = postscript.find("//", at)) != std::string::npos; at++)
        postscript.replace(at, 2, " /");
    const char *program = R"(
/File (text.ps) (r) file def
{ File token not { exit } if dup type = dup xcheck = === } loop
)";
    ScratchDirectory directory;
    directory.write("text.ps", postscript);
    ProgramOptions options;
    options.directory = directory.path;
    options.input = program;
    ProgramResult result = runProgram(
        {"gs", "-q", "-dSAFER", "--permit-file-read=text.ps", "-dNODISPLAY", "-"}, options);
    EXPECT_EQ(result.status, 0) << result.out.substr(0, 1000) << result.err;
    return result.out;
}

TEST(PrologFile, IsSmallAndFitsTheWidthOfAPage)
{
    EXPECT_LT(builtOf("pdf_psprolog.ps").size(), 80000U);
    for (const std::string &text : {sourceOf("pdf_psprolog.ps"), builtOf("pdf_psprolog.ps")})
        for (const std::string &line : linesOf(text)) {
            EXPECT_LE(line.size(), 100U) << line;
            for (char c : line)
                EXPECT_TRUE(c >= ' ' && c <= '~') << line;
        }
}

TEST(PrologFile, BeginsWithTheMarkOfPostScriptAndClaimsNoMore)
{
    EXPECT_EQ(linesOf(builtOf("pdf_psprolog.ps")).at(0), "%!PS");
    EXPECT_EQ(builtOf("pdf_psprolog.ps").find("\n%"), std::string::npos);
}

TEST(PrologFile, LosesNothingButItsComments)
{
    for (const char *file : {"pdf_psprolog.ps", "pdf_pstrailer.ps"}) {
        std::string source = objectsOf(sourceOf(file));
        EXPECT_FALSE(source.empty());
        EXPECT_TRUE(source == objectsOf(builtOf(file))) << file;
    }
}

TEST(PrologFile, PrintsWhatItsSourcePrints)
{
    Conversion conversion = convertPdf(sampleDocument());
    PrintOptions options;
    PrintedJob built = printPages(conversion.pages, options);
    options.prolog = sourceOf("pdf_psprolog.ps");
    PrintedJob source = printPages(conversion.pages, options);
    EXPECT_EQ(faultsOf(built), Lines{});
    EXPECT_EQ(built.lines, source.lines);
    ASSERT_EQ(built.pages.size(), 2U);
    ASSERT_EQ(source.pages.size(), 2U);
    for (size_t i = 0; i < built.pages.size(); i++)
        EXPECT_TRUE(built.pages[i].rgb == source.pages[i].rgb) << "page " << i + 1;
}

/* A `restore` gives a string no old content back, so that a font program of a page could change
 * what the next pages do: all strings of the prolog are read-only but those that are written to. */
TEST(PrologFile, KeepsItsTextsOutOfReach)
{
    for (const PrologPart &part : prologParts())
        for (const PostScriptToken &token : postScriptTokens(part.text))
            if (token.kind == TokenKind::STRING && token.depth > 0 &&
                part.file != "00_settings.ps") { /* whose procedures run while it is read */
                EXPECT_EQ(token.name, "()") << "in a procedure it can be written to";
            }
    const char *program = R"(
/Shown 20 dict def
[ /Scratch /ContentBuffer /LineBuffer /OneChar /SegmentHeader ] { Shown exch true put } forall
/Look {
    dup type /stringtype eq { dup length 0 gt 1 index wcheck and { (WRITABLE ) print == } { pop } ifelse } {
        dup type /arraytype eq 1 index xcheck not and { { Look } forall } { pop } ifelse
    } ifelse
} def
Prolog { exch Shown exch known { pop } { Look } ifelse } forall
(LOOKED) =
)";
    ProgramOptions options;
    options.input = builtOf("pdf_psprolog.ps") + program;
    ProgramResult result = runProgram({"gs", "-q", "-dSAFER", "-dNODISPLAY", "-"}, options);
    EXPECT_EQ(result.out, "LOOKED\n");
}

} // namespace
