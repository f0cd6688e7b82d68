/*
 * test_instance.cpp - a converter instance over bytes
 */
#include "tests/support/test_instance.h"

#include <cerrno>
#include <gtest/gtest.h>

#include "tools/zolak1_3/pdf_to_ps/reader/xref.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xreftable.h"
#include "tools/zolak1_3/pdf_to_ps/frame/zolak_class.h"

TestInstance::TestInstance(const std::string &input)
    : inst(reinterpret_cast<ConverterInstance *>(zelkov_create_inst(zolak_baseclass_init())))
{
    run = &inst->run;
    run->controller = controller;
    control_adopt(controller, &inst->header);
    run->rootPosition = 0xFFFFFFFF;
    run->input = fopenr("", directory.write("input", input).c_str(), "", 0);
    run->output = fopent("", (directory / "output").c_str(), "", 0);
    errno = 0;
}

TestInstance::~TestInstance()
{
    freeTable(run);
    fclosx(run->input);
    fclosx(run->output);
    zelkov_free_inst(&inst->header);
}

void TestInstance::openIndex()
{
    openDocumentIndex(run);
    EXPECT_EQ(run->errorFlag, 0);
    EXPECT_EQ(controller.takeTexts(), std::vector<std::string>{});
    frewind(run->input);
}

std::string TestInstance::ahead(size_t count)
{
    std::string bytes(count, '\0');
    uint32_t before = run->input->position;
    bytes.resize(fgetm(run->input, bytes.data(), count));
    run->input->position = before;
    return bytes;
}

std::string TestInstance::written()
{
    int saved = errno;
    std::string bytes(fgeteof(run->output), '\0');
    frewind(run->output);
    fgetm(run->output, bytes.data(), bytes.size());
    fclosx(run->output);
    run->output = fopent("", (directory / "output").c_str(), "", 0);
    errno = saved;
    return bytes;
}
