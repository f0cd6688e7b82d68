/*
 * example_test.cpp - the example document prints as it looks
 */
#include <gtest/gtest.h>

#include "tests/documents/printed_document.h"

TEST(Example, EveryPagePrintsAsItLooks)
{
    expectPrintsAsItLooks(readFile(EXAMPLE_FILE), 4);
}

TEST(Example, OnePageAloneIsTheSame)
{
    expectPagesAlonePrintAsTheyLook(readFile(EXAMPLE_FILE), 4);
}

TEST(Example, DecodedContentPrintsTheSame)
{
    expectPrintsAsItLooks(readFile(EXAMPLE_FILE), 4, {"-DECODE"});
}
