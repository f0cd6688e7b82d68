/*
 * streams_test.cpp - stream dictionaries, lengths, and where the data begins
 */
#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"

#include <gtest/gtest.h>

#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"

namespace {

using Texts = std::vector<std::string>;

/* The reports of parsing `input` as a stream, and its data when it is one. */
Texts parse(const std::string &input, std::string *data = nullptr)
{
    TestInstance test(input);
    StreamPtr stream = readStream(test.run);
    if (stream && data) {
        EXPECT_EQ(test.ahead(5), " next");
        test.seek(stream->dataPosition);
        *data = test.ahead((size_t)stream->length);
    }
    return test.controller.takeTexts();
}

} // namespace

TEST(Stream, DataBeginsBehindTheLineOfTheKeyword)
{
    for (const char *end : {"\n", "\r\n", "\r", " \n", " trailing words\n"}) {
        std::string data;
        EXPECT_EQ(
            parse(std::string("<< /Length 5 >>\nstream") + end + "hello\nendstream next", &data),
            Texts{});
        EXPECT_EQ(data, "hello");
    }
}

TEST(Stream, WhiteSpaceBeforeEndstreamIsPassedOver)
{
    for (const char *space : {"", "\n", "\r\n", "  \n\n"}) {
        std::string data;
        EXPECT_EQ(
            parse(std::string("<</Length 5>>stream\nhello") + space + "endstream next", &data),
            Texts{});
        EXPECT_EQ(data, "hello");
    }
}

TEST(Stream, AnIndirectLengthIsRead)
{
    PdfBuilder pdf;
    int length = pdf.add("5");
    int stream = pdf.add("<< /Length " + ref(length) + " >>\nstream\nhello\nendstream");
    TestInstance test(pdf.build());
    test.openIndex();
    test.seek((uint32_t)pdf.offsetOf(stream) + 7);
    StreamPtr record = readStream(test.run);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->length, 5);
    EXPECT_EQ(record->dictPosition, pdf.offsetOf(stream) + 7);
}

TEST(Stream, TheFirstLengthCounts)
{
    std::string data;
    EXPECT_EQ(parse("<</Length 5 /Length 3>>stream\nhello\nendstream next", &data), Texts{});
    EXPECT_EQ(data, "hello");
}

TEST(Stream, ALengthThatLandsInsideEndstreamIsRefused)
{
    EXPECT_EQ(parse("<</Length 7>>stream\nhello\nendstream next"),
              Texts{"ZOLAK 4 BADSTREAM: Keyword 'endstream' is missing."});
    EXPECT_EQ(parse("<</Length 4>>stream\nhello\nendstream next"),
              Texts{"ZOLAK 4 BADSTREAM: Keyword 'endstream' is missing."});
}

TEST(Stream, ANegativeLengthThatFindsNoEndIsRefused)
{
    EXPECT_EQ(parse("<</Length -3>>stream\nhello\nendstream next"),
              Texts{"ZOLAK 4 BADSTREAM: Keyword 'endstream' is missing."});
}

TEST(Stream, Failures)
{
    EXPECT_EQ(parse("<</Length 5>> endobj "),
              Texts{"ZOLAK 4 BADSTREAM: Keyword 'stream' is missing."});
    EXPECT_EQ(parse("<</Size 5>>stream\nhello\nendstream next"),
              Texts{"ZOLAK 4 NOLENGTH: Stream object doesn't contain the /Length keyword."});
    EXPECT_EQ(parse("<</Length 50>>stream\nhello\nendstream next"),
              (Texts{"ZOLAK 4 BADSPACE: Error occurred during skipping white spaces.",
                     "ZOLAK 4 BADSTREAM: Keyword 'endstream' is missing."}));
    EXPECT_EQ(parse("[1] "), Texts{"ZOLAK 4 BADDICT: Dictionary expected."});
    EXPECT_EQ(parse("<</Length (5)>>stream\nhello\nendstream next"),
              Texts{"ZOLAK 4 NONUMBER: Couldn't read number from PDF file."});
}

TEST(Stream, NothingLivesAfterAFailure)
{
    TestInstance test("<</Length 7>>stream\nhello\nendstream next");
    EXPECT_EQ(parseStream(test.run), nullptr);
    EXPECT_EQ(test.run->liveStreams, 0);
    EXPECT_EQ(test.run->liveDicts, 0);
    freeStream(test.run, nullptr);
    EXPECT_EQ(test.run->liveStreams, 0);
}

TEST(Stream, ANegativeLengthThatFindsAnEndHasNoData)
{
    TestInstance test("endstream <</Length -32>>stream\n");
    test.seek(10);
    StreamPtr stream = readStream(test.run);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->length, -32);
    EXPECT_EQ(stream->dataPosition, 32U);
    EXPECT_EQ(test.position(), 9U) << "behind the end that was found";
}

TEST(Stream, LengthsAtTheEdgesOfTheirRange)
{
    const Texts missing = {"ZOLAK 4 BADSPACE: Error occurred during skipping white spaces.",
                           "ZOLAK 4 BADSTREAM: Keyword 'endstream' is missing."};
    for (const char *length : {"2147483647", "2147483648", "-2147483648", "99999999999999999999"})
        EXPECT_EQ(parse(std::string("<</Length ") + length + ">>stream\nhello\nendstream next"),
                  missing)
            << length;
    std::string data;
    EXPECT_EQ(parse("<</Length 5.9>>stream\nhello\nendstream next", &data), Texts{});
    EXPECT_EQ(data, "hello") << "a fraction is dropped";
    EXPECT_EQ(parse("<</Length 0>>stream\nendstream next", &data), Texts{});
    EXPECT_EQ(data, "");
}

TEST(Stream, AFileThatEndsBehindTheKeywordIsAReadingError)
{
    EXPECT_EQ(parse("<</Length 0>>stream"),
              (Texts{"ZOLAK 4 READERR: Reading error.", "ZOLAK 4 READERR: Reading error."}));
    EXPECT_EQ(parse("<</Length 0>>stream\nendstream"), Texts{"ZOLAK 4 READERR: Reading error."})
        << "a keyword needs a byte behind it";
}
