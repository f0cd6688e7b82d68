/*
 * test_instance.h - a converter instance over bytes, for calling one operation of it
 *
 *     TestInstance test("<< /A 1 >>");
 *     DictPtr dict = readDict(test.run);
 */
#ifndef TESTS_TEST_INSTANCE_H
#define TESTS_TEST_INSTANCE_H

#include <string>
#include <vector>

#include "tests/support/recording_controller.h"
#include "tests/support/scratch_directory.h"
#include "tools/zolak1_3/pdf_to_ps/frame/instance.h"

class TestInstance {
  public:
    /* The input is at its start and errno is 0. */
    explicit TestInstance(const std::string &input);
    ~TestInstance();
    TestInstance(const TestInstance &) = delete;
    TestInstance &operator=(const TestInstance &) = delete;

    /* Reads the index of the document; the test fails when that fails. */
    void openIndex();

    /* The byte at the input's position and behind, up to `count`; the position stays. */
    std::string ahead(size_t count = 1);

    uint32_t position() const { return run->input->position; }
    void seek(uint32_t position) { run->input->position = position; }

    /* What was written so far; later writes begin anew. */
    std::string written();

    RecordingController controller;
    ConverterInstance *inst;
    ConversionRun *run; /* of the instance */

  private:
    ScratchDirectory directory;
};

#endif
