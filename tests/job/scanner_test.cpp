/*
 * scanner_test.cpp - the verifier's scanner reads what an interpreter reads
 *
 * Texts are put together from pieces by chance; what the scanner takes, Ghostscript's operator
 * `token` has to take for the same objects.
 */
#include <gtest/gtest.h>

#include <string>

#include "job/tokens.h"
#include "tests/support/conversion.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace {

using namespace std::string_literals;

/* The objects of a text, a word for each; empty: the scanner takes it for none of ours. */
std::string objectsOf(const std::string &text)
{
    using enum job::TokenKind;
    job::Scanner scanner(job::Bytes((const uint8_t *)text.data(), text.size()));
    std::string all;
    for (;;) {
        const job::Token &token = scanner.next();
        switch (token.kind) {
        case END:
            return all;
        case INTEGER:
            all += "i ";
            break;
        case REAL:
            all += "r ";
            break;
        case NAME:
            all += "N" + std::string(token.name()) + " ";
            break;
        case STRING:
            all += "s" + std::to_string(token.stringBytes) + " ";
            break;
        case WORD:
        case OPEN_ARRAY:
        case CLOSE_ARRAY:
        case OPEN_DICT:
        case CLOSE_DICT:
            all += "x" + std::string(token.text) + " ";
            break;
        default:
            return "";
        }
    }
}

/* The same by the interpreter: a line for each of the files that are named one in a line. */
constexpr char OBJECTS[] = R"(
/Show { print ( ) print } def
/Names (names) (r) file def
{
    Names 300 string readline not { exit } if
    (r) file /File exch def
    {
        { File token } stopped { (ERROR) Show exit } if
        not { exit } if
        dup type /integertype eq { pop (i) Show } {
        dup type /realtype eq { pop (r) Show } {
        dup type /stringtype eq { (s) print length 10 string cvs Show } {
        dup type /nametype eq { dup xcheck { (x) } { (N) } ifelse print 200 string cvs Show }
        { pop (other) Show } ifelse } ifelse } ifelse } ifelse
    } loop
    clear File closefile
    (\n) print
} loop
)";

std::vector<std::string> byInterpreter(const std::vector<std::string> &texts)
{
    ScratchDirectory directory;
    std::string names;
    for (size_t i = 0; i < texts.size(); i++) {
        directory.write(std::to_string(i), texts[i]);
        names += std::to_string(i) + "\n";
    }
    directory.write("names", names);
    directory.write("objects.ps", OBJECTS);
    ProgramOptions settings;
    settings.directory = directory.path;
    ProgramResult result =
        runProgram({"gs", "-q", "-dNODISPLAY", "-dBATCH", "-dNOSAFER", "objects.ps"}, settings);
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    return linesOf(result.out);
}

TEST(JobScanner, TakesTheObjectsThatAnInterpreterTakes)
{
    const std::string pieces[] = {"(a\\)b)",
                                  "(\\\\)",
                                  "(a(b)c)",
                                  "(\\\r\n)",
                                  "(\\\n\r)",
                                  "(\r)",
                                  "(\r\r\n\n)",
                                  "(a\r\nb)",
                                  "(\\1)",
                                  "(\\12)",
                                  "(\\1234)",
                                  "(\\n\\t)",
                                  "(a\0b)"s,
                                  "<41 4>",
                                  "<>",
                                  "<<",
                                  ">>",
                                  "[",
                                  "]",
                                  "/a",
                                  "/a.b_c+-",
                                  "/1",
                                  "/-",
                                  "/+1",
                                  "1",
                                  "-1",
                                  "+1",
                                  "1.",
                                  ".5",
                                  "-.5",
                                  " 00012 ",
                                  " 1e5 ",
                                  " 1.5e-3 ",
                                  "f*",
                                  "'",
                                  "\"",
                                  "T*",
                                  "BT",
                                  "a.b",
                                  "\0"s,
                                  "\f",
                                  "\t",
                                  "\n",
                                  "/9x",
                                  "(\x80\xff)",
                                  "B*",
                                  "(\\53\\0538)",
                                  "<4\n1\0\f>"s,
                                  "()",
                                  "x-1",
                                  "-x",
                                  "+",
                                  "1-2",
                                  "/1.5",
                                  "(\\400)",
                                  "(%)",
                                  "(<~{})",
                                  "!$@^&*|?~`;:,=_",
                                  ")",
                                  "(\\q)",
                                  "1.2.3",
                                  "/a#20",
                                  "\x80",
                                  "16#FF",
                                  "<~a~>"};
    uint32_t state = 1;
    auto chance = [&](size_t most) {
        state = state * 1664525 + 1013904223;
        return (size_t)(state >> 8) % most;
    };
    std::vector<std::string> texts, ours;
    while (texts.size() < 2000) {
        std::string text;
        for (size_t count = 1 + chance(8); count > 0; count--)
            text += pieces[chance(std::size(pieces))] + (chance(4) ? " " : "");
        std::string objects = objectsOf(text);
        if (objects.empty())
            continue;
        texts.push_back(text);
        ours.push_back(objects);
    }
    std::vector<std::string> theirs = byInterpreter(texts);
    ASSERT_EQ(theirs.size(), ours.size());
    for (size_t i = 0; i < texts.size(); i++)
        EXPECT_EQ(ours[i], theirs[i]) << texts[i];
}

} // namespace
