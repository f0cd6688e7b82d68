/*
 * conversion.cpp - a font through insert_ttfont, and what came out
 */
#include "tests/truetype/conversion.h"

#include <cstring>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/support/scratch_directory.h"
#include "tools/zolak1_3/truetype/truetype.h"
#include "zelkov/zelkov.h"

namespace {

constexpr char PROCEDURE_END[] = " } bind def\n";

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

RecordedInstance::RecordedInstance()
{
    zelkov_class_init();
    instance = zelkov_create_inst(zelkov_rootclass);
    control_adopt(controller, instance);
}

RecordedInstance::~RecordedInstance()
{
    zelkov_free_inst(instance);
}

FontConversion convertFont(const std::string &font)
{
    ScratchDirectory scratch;
    RecordedInstance instance;
    std::string path = scratch / "font.ps";
    ZFile *input = fopenr("", scratch.write("font.ttf", font).c_str(), "", 0);
    ZFile *output = fopenw("", path.c_str(), "", 0);
    EXPECT_TRUE(input && output);
    EXPECT_EQ(insert_ttfont(instance, input, output), 0);
    fclosx(input);
    EXPECT_EQ(fclosx(output), 0);
    return {readFile(path), instance.controller.takeTextsWithLines(), instance.stopped()};
}

std::string glyphProcedure(const FontConversion &conversion, const std::string &name)
{
    size_t start = conversion.text.find("\n/" + name + " { % ");
    if (start == std::string::npos)
        return "";
    size_t end = conversion.text.find(PROCEDURE_END, start);
    if (end == std::string::npos)
        return "";
    return conversion.text.substr(start + 1, end + strlen(PROCEDURE_END) - start - 1);
}

std::string glyphPath(const FontConversion &conversion, const std::string &name)
{
    std::string procedure = glyphProcedure(conversion, name);
    size_t start = procedure.find("setcachedevice\n");
    size_t end = procedure.rfind("fill\n");
    if (start == std::string::npos || end == std::string::npos)
        return procedure;
    start += strlen("setcachedevice\n");
    return procedure.substr(start, end - start);
}

std::vector<std::string> encodingNames(const FontConversion &conversion)
{
    std::vector<std::string> names;
    size_t start = conversion.text.find("/Encoding [\n");
    size_t end = conversion.text.find("] def\n/CharProcs");
    if (start == std::string::npos || end == std::string::npos)
        return names;
    start += strlen("/Encoding [\n");
    for (const std::string &line : linesOf(conversion.text.substr(start, end - start))) {
        std::istringstream words(line.substr(0, line.find('%')));
        for (std::string word; words >> word;)
            names.push_back(word.substr(1));
    }
    return names;
}

std::vector<std::string> glyphNames(const FontConversion &conversion)
{
    std::vector<std::string> names;
    for (const std::string &line : linesOf(conversion.text)) {
        size_t brace = line.find(" { % ");
        if (line.starts_with("/") && brace != std::string::npos)
            names.push_back(line.substr(1, brace - 1));
    }
    return names;
}

bool hasLine(const FontConversion &conversion, const std::string &line)
{
    return ("\n" + conversion.text).find("\n" + line + "\n") != std::string::npos;
}
