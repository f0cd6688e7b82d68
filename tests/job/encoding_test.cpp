/*
 * encoding_test.cpp - what sections are written in
 */
#include <gtest/gtest.h>

#include <string>

#include <zlib.h>

#include "job/ascii.h"
#include "job/deflate.h"
#include "job/labels.h"
#include "job/lzw.h"
#include "job/section.h"
#include "tests/job/random_bytes.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"

namespace {

using job::Bytes;

Bytes bytesOf(const std::string &text)
{
    return {(const uint8_t *)text.data(), text.size()};
}

template <class Encoder> std::string encoded(const std::string &text, size_t piece = 1000)
{
    std::string out;
    Encoder encoder([&](Bytes bytes) { out.append((const char *)bytes.data(), bytes.size()); });
    for (size_t at = 0; at < text.size(); at += piece)
        encoder.write(bytesOf(text.substr(at, piece)));
    encoder.finish();
    return out;
}

/* LZW undone by the book: codes of 9 bits, growing one early. */
std::string lzwDecoded(const std::string &data)
{
    std::vector<std::string> table;
    auto clear = [&] {
        table.assign(258, "");
        for (int i = 0; i < 256; i++)
            table[(size_t)i] = std::string(1, (char)i);
    };
    std::string out, last;
    unsigned length = 9;
    uint64_t bits = 0;
    unsigned have = 0;
    for (size_t at = 0;;) {
        while (have < length) {
            EXPECT_LT(at, data.size()) << "no end mark";
            if (at >= data.size())
                return out;
            bits = bits << 8 | (uint8_t)data[at++];
            have += 8;
        }
        have -= length;
        unsigned code = (unsigned)(bits >> have) & ((1u << length) - 1);
        if (code == 257)
            return out;
        if (code == 256) {
            clear();
            last.clear();
            length = 9;
            continue;
        }
        EXPECT_LE(code, table.size());
        std::string entry =
            code < table.size() ? table[code] : last + (last.empty() ? "" : last.substr(0, 1));
        out += entry;
        if (!last.empty())
            table.push_back(last + entry[0]);
        last = entry;
        length = table.size() + 1 >= 2048   ? 12
                 : table.size() + 1 >= 1024 ? 11
                 : table.size() + 1 >= 512  ? 10
                                            : 9;
    }
}

std::string runsDecoded(const std::string &data)
{
    std::string out;
    for (size_t at = 0; at < data.size();) {
        unsigned count = (uint8_t)data[at++];
        if (count == 128) {
            EXPECT_EQ(at, data.size());
            return out;
        }
        if (count < 128) {
            out += data.substr(at, count + 1);
            at += count + 1;
        } else {
            out.append(257 - count, data[at++]);
        }
    }
    ADD_FAILURE() << "no end mark";
    return out;
}

TEST(JobEncoding, LzwOfTheSampleInTheLanguagesBook)
{
    /* 45 45 45 45 45 65 45 45 45 66 becomes the codes 256 45 258 258 65 259 66 257. */
    std::string text = {45, 45, 45, 45, 45, 65, 45, 45, 45, 66};
    EXPECT_EQ(encoded<job::LzwEncoder>(text),
              std::string("\x80\x0B\x60\x50\x22\x0C\x0C\x85\x01", 9));
}

TEST(JobEncoding, LzwSurvivesEveryLengthAroundTheGrowthOfItsCodes)
{
    for (size_t count : std::initializer_list<size_t>{0,    1,    2,    252,  253,  254,  255,
                                                      256,  764,  765,  766,  1788, 1790, 3835,
                                                      3836, 3837, 3838, 3839, 4100, 70000}) {
        std::string text = randomBytes(count);
        EXPECT_TRUE(lzwDecoded(encoded<job::LzwEncoder>(text)) == text) << count;
        std::string same(count, 'x');
        EXPECT_TRUE(lzwDecoded(encoded<job::LzwEncoder>(same, 7)) == same) << count;
    }
}

TEST(JobEncoding, RunLengths)
{
    EXPECT_EQ(encoded<job::RunLengthEncoder>(""), "\x80");
    EXPECT_EQ(encoded<job::RunLengthEncoder>("aaab"), std::string("\xFE"
                                                                  "a"
                                                                  "\x00"
                                                                  "b"
                                                                  "\x80",
                                                                  5));
    EXPECT_EQ(encoded<job::RunLengthEncoder>("aab"), std::string("\x02"
                                                                 "aab"
                                                                 "\x80",
                                                                 5));
}

TEST(JobEncoding, RunLengthsSurviveRunsOfEveryLength)
{
    std::string text;
    for (size_t run = 1; run < 400; run++)
        text.append(run, (char)('a' + run % 26));
    EXPECT_TRUE(runsDecoded(encoded<job::RunLengthEncoder>(text, 13)) == text);
    std::string noise = randomBytes(100000);
    std::string out = encoded<job::RunLengthEncoder>(noise);
    EXPECT_TRUE(runsDecoded(out) == noise);
    EXPECT_LT(out.size(), noise.size() + noise.size() / 100);
}

/* More than is kept in memory, in every stage at once. */
TEST(JobEncoding, ALargeSectionArrivesWhole)
{
    std::string data = randomBytes(9000000);
    PdfBuilder pdf;
    std::string image = ref(pdf.addStream("/Type /XObject /Subtype /Image /Width 3000 /Height 3000 "
                                          "/BitsPerComponent 8 /ColorSpace /DeviceGray",
                                          data));
    pdf.addPage("/MediaBox [0 0 200 200] /Resources << /XObject << /I " + image +
                " >> >> /Contents " + ref(pdf.addStream("", "/I Do")));
    std::string bytes = pdf.build();
    for (const std::vector<std::string> &options : std::initializer_list<std::vector<std::string>>{
             {}, {"--binary"}, {"--no-compress"}, {"--no-compress", "--binary"}}) {
        std::vector<std::string> pages = pageTextsOf(jobOf(bytes, options));
        ASSERT_EQ(pages.size(), 1u);
        EXPECT_TRUE(pages[0].find(data) != std::string::npos);
    }
    std::vector<Section> sections = sectionsOf(jobOf(bytes, {"--level=2", "--binary"}));
    ASSERT_EQ(sections.back().procedure, "PdfPage");
    EXPECT_TRUE(runsDecoded(sections.back().data).find(data) != std::string::npos);
}

struct Collected : job::ByteSink {
    void write(Bytes bytes) override { text.append((const char *)bytes.data(), bytes.size()); }
    std::string text;
};

/* A part of a stream: stored, or text. */
struct FlatePart {
    bool isStored;
    std::string data;
};

std::string flateOf(job::Deflater *deflater, const std::vector<FlatePart> &parts)
{
    Collected out;
    deflater->begin(&out);
    for (const FlatePart &part : parts) {
        deflater->passThrough(part.isStored);
        for (size_t at = 0; at < part.data.size(); at += 50000)
            deflater->write(bytesOf(part.data.substr(at, 50000)));
    }
    deflater->finish();
    return out.text;
}

std::string undone(const std::string &flate, size_t size)
{
    std::string text(size + 1, '\0');
    uLongf made = (uLongf)text.size();
    int result =
        uncompress((Bytef *)text.data(), &made, (const Bytef *)flate.data(), (uLong)flate.size());
    EXPECT_EQ(result, Z_OK);
    text.resize(result == Z_OK ? made : 0);
    return text;
}

/* One deflater for all of them, as a job has it: nothing of one stream is in the next. */
TEST(JobEncoding, FlateOfTextAndStoredPartsInEveryOrder)
{
    std::string page, digits;
    while (page.size() < 100000)
        page += "BT /F1 12 Tf (word " + std::to_string(page.size() * 7919 % 1009) + ") Tj ET\n";
    while (digits.size() < 70000)
        digits += std::to_string(digits.size() * 31 % 97) + " 0 l\n";
    const std::string texts[] = {"",   "q\n",  page.substr(0, 3000),
                                 page, digits, page + randomBytes(400) + page};
    const std::string data[] = {"", randomBytes(1), randomBytes(20000), randomBytes(65535),
                                randomBytes(200000)};
    job::Deflater deflater;
    for (const std::string &text : texts)
        for (const std::string &stored : data)
            for (const std::vector<FlatePart> &parts : std::vector<std::vector<FlatePart>>{
                     {{false, text}},
                     {{true, stored}},
                     {{false, text}, {true, stored}},
                     {{true, stored}, {false, text}},
                     {{false, text}, {true, stored}, {false, page}, {true, "x"}, {false, text}},
                     {{true, stored}, {false, "q"}, {true, stored}, {false, text}, {true, "x"}}}) {
                std::string whole;
                for (const FlatePart &part : parts)
                    whole += part.data;
                std::string flate = flateOf(&deflater, parts);
                EXPECT_TRUE(undone(flate, whole.size()) == whole)
                    << text.size() << " and " << stored.size();
            }
}

/* More text than is compressed at once. */
TEST(JobEncoding, FlateOfMuchTextIsOneStream)
{
    std::string text;
    while (text.size() < 20000000)
        text += "BT /F1 12 Tf (word " + std::to_string(text.size() * 7919 % 100003) + ") Tj ET\n";
    job::Deflater deflater;
    std::string flate = flateOf(&deflater, {{false, text}});
    EXPECT_TRUE(undone(flate, text.size()) == text);
    EXPECT_LT(flate.size(), text.size() / 3);
}

/* Stored data takes its own length and little more. */
TEST(JobEncoding, WhatIsCompressedAlreadyIsStored)
{
    std::string data = randomBytes(1000000);
    job::Deflater deflater;
    EXPECT_LT(flateOf(&deflater, {{false, "/I "}, {true, data}, {false, "Do"}}).size(),
              data.size() + 200);
}

TEST(JobEncoding, CompressedDataIsKnownByItsLook)
{
    EXPECT_TRUE(job::looksCompressed(bytesOf(randomBytes(4096))));
    EXPECT_FALSE(job::looksCompressed(bytesOf(std::string(4096, 'x'))));
    std::string text;
    while (text.size() < 4096)
        text += "0.1 0.2 0.3 rg " + std::to_string(text.size()) + " 700 m (text) Tj\n";
    EXPECT_FALSE(job::looksCompressed(bytesOf(text)));
    EXPECT_FALSE(job::looksCompressed({}));
}

TEST(JobEncoding, NumbersOfPageLabels)
{
    EXPECT_EQ(job::styledNumber("D", 17), "17");
    EXPECT_EQ(job::styledNumber("r", 4), "iv");
    EXPECT_EQ(job::styledNumber("R", 1999), "MCMXCIX");
    EXPECT_EQ(job::styledNumber("a", 1), "a");
    EXPECT_EQ(job::styledNumber("a", 26), "z");
    EXPECT_EQ(job::styledNumber("A", 28), "BB");
    EXPECT_EQ(job::styledNumber("", 5), "");
    EXPECT_EQ(job::styledNumber("a", 0), "");
    EXPECT_LE(job::styledNumber("r", INT32_MAX).size(), 210u) << "bounded";
    EXPECT_LE(job::styledNumber("a", INT32_MAX).size(), 200u) << "bounded";
}

TEST(JobTexts, AreWrittenInAscii)
{
    EXPECT_EQ(job::asAscii("plain ~"), "plain ~");
    EXPECT_EQ(job::asAscii("Größe Ærø Čapek ŒUVRE Łódź"), "Grosse AEro Capek OEUVRE Lodz");
    EXPECT_EQ(job::asAscii("“a” – ‘b’… 5 €"), "\"a\" - 'b'... 5 EUR");
    EXPECT_EQ(job::asAscii("日本\t\x7f"), "????");
    EXPECT_EQ(job::asAscii("\xff\xc3"), "??");
    EXPECT_EQ(job::asAscii("\xe2\x80"), "??");
    EXPECT_EQ(job::asAscii(""), "");
}

} // namespace
