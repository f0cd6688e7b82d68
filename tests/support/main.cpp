/*
 * main.cpp - the main function of every test program: a process as the programs have it
 */
#include <gtest/gtest.h>

#include "zelkov/process.h"

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    process_begin();
    return RUN_ALL_TESTS();
}
