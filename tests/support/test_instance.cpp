/*
 * test_instance.cpp - a converter instance over bytes
 */
#include "tests/support/test_instance.h"

#include <cerrno>
#include <gtest/gtest.h>

#include "tools/zolak1_3/pdf_to_ps/xref.h"
#include "tools/zolak1_3/pdf_to_ps/zolak_class.h"

TestInstance::TestInstance(const std::string &input)
    : inst(reinterpret_cast<ConverterInstance *>(zelkov_create_inst(zolak_baseclass_init())))
{
    inst->controller = controller;
    control_adopt(controller, &inst->header);
    inst->rootPosition = 0xFFFFFFFF;
    inst->input = fopenr("", directory.write("input", input).c_str(), "", 0);
    inst->output = fopent("", (directory / "output").c_str(), "", 0);
    errno = 0;
}

TestInstance::~TestInstance()
{
    freeDocumentIndex(inst);
    fclosx(inst->input);
    fclosx(inst->output);
    zelkov_free_inst(&inst->header);
}

void TestInstance::openIndex()
{
    openDocumentIndex(inst);
    EXPECT_EQ(inst->errorFlag, 0);
    EXPECT_EQ(controller.takeTexts(), std::vector<std::string>{});
    frewind(inst->input);
}

std::string TestInstance::ahead(size_t count)
{
    std::string bytes(count, '\0');
    uint32_t before = inst->input->position;
    bytes.resize(fgetm(inst->input, bytes.data(), count));
    inst->input->position = before;
    return bytes;
}

std::string TestInstance::written()
{
    int saved = errno;
    std::string bytes(fgeteof(inst->output), '\0');
    frewind(inst->output);
    fgetm(inst->output, bytes.data(), bytes.size());
    fclosx(inst->output);
    inst->output = fopent("", (directory / "output").c_str(), "", 0);
    errno = saved;
    return bytes;
}
