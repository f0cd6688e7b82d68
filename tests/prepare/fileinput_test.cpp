/*
 * fileinput_test.cpp - the windows of a file against what stands in it
 */
#include "prepare/document/fileinput.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <stdexcept>

#include <qpdf/FileInputSource.hh>
#include <unistd.h>

#include "tests/support/scratch_directory.h"

namespace {

/* Lines of every length, with ends of every kind: around the ends of windows, too. */
std::string linesOf(size_t size)
{
    std::mt19937 random(5);
    std::string text;
    const char *ends[] = {"\n", "\r", "\r\n", "\n\n\r\r\n", ""};
    while (text.size() < size)
        text += std::string(random() % 3000, (char)('a' + random() % 26)) + ends[random() % 5];
    text.resize(size);
    return text;
}

TEST(FileInput, ReadsFromEveryPlaceWhatStandsThere)
{
    ScratchDirectory directory;
    std::string text = linesOf(3 * 1024 * 1024 + 77);
    auto input = prepare::openFileInput(directory.write("f", text));
    std::mt19937 random(6);
    for (int i = 0; i < 3000; i++) {
        size_t at = random() % (text.size() + 100);
        size_t count = random() % (i % 10 == 0 ? 300000 : 700);
        input->seek((qpdf_offset_t)at, SEEK_SET);
        std::string got(count, '\0');
        got.resize(input->read(got.data(), count));
        std::string expected = at < text.size() ? text.substr(at, count) : "";
        ASSERT_TRUE(got == expected) << at << " " << count;
        ASSERT_EQ(input->tell(), (qpdf_offset_t)(at + expected.size()));
        ASSERT_EQ(input->getLastOffset(), (qpdf_offset_t)at);
    }
    input->seek(-3, SEEK_END);
    char last[10];
    EXPECT_EQ(input->read(last, sizeof last), 3u);
    input->unreadCh(last[2]);
    EXPECT_EQ(input->read(last, sizeof last), 1u);
    EXPECT_EQ(last[0], text.back());
    EXPECT_THROW(input->seek(-1, SEEK_SET), std::runtime_error);
}

TEST(FileInput, FindsTheEndsOfLinesWhereTheLibrarysOwnSourceDoes)
{
    ScratchDirectory directory;
    std::string text = linesOf(400000);
    std::string path = directory.write("f", text);
    auto input = prepare::openFileInput(path);
    FileInputSource expected(path.c_str());
    std::mt19937 random(7);
    for (int i = 0; i < 2000; i++) {
        qpdf_offset_t at = (qpdf_offset_t)(random() % (text.size() + 2));
        input->seek(at, SEEK_SET);
        expected.seek(at, SEEK_SET);
        ASSERT_EQ(input->findAndSkipNextEOL(), expected.findAndSkipNextEOL()) << at;
        ASSERT_EQ(input->tell(), expected.tell()) << at;
    }
}

TEST(FileInput, AFileThatBecomesShorterIsAnError)
{
    ScratchDirectory directory;
    std::string path = directory.write("f", std::string(1000000, 'x'));
    auto input = prepare::openFileInput(path);
    char byte;
    EXPECT_EQ(input->read(&byte, 1), 1u);
    ASSERT_EQ(truncate(path.c_str(), 500000), 0);
    input->seek(900000, SEEK_SET);
    EXPECT_THROW(input->read(&byte, 1), std::exception);
}

TEST(FileInput, AFileThatIsNotThereIsAnError)
{
    EXPECT_THROW(prepare::openFileInput("/nonexistent/f"), std::runtime_error);
}

} // namespace
