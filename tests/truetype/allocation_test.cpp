/*
 * allocation_test.cpp - every allocation of a conversion fails once
 *
 * The program is linked so that zcreate and zalloc lead here first; they answer null when it is
 * their turn to fail.
 */
#include <gtest/gtest.h>

#include <set>

#include "tests/truetype/conversion.h"
#include "tests/truetype/font_builder.h"
#include "zelkov/memzone.h"

namespace {

int allocationsLeft = -1; /* before one fails; negative: none does */

bool mustFail()
{
    return allocationsLeft >= 0 && allocationsLeft-- == 0;
}

} // namespace

MemZone *zcreateReal(size_t firstBytes) asm("__real__Z7zcreatem");
MemZone *zcreateFailing(size_t firstBytes) asm("__wrap__Z7zcreatem");
void *zallocReal(MemZone *zone, size_t size) asm("__real__Z6zallocP7MemZonem");
void *zallocFailing(MemZone *zone, size_t size) asm("__wrap__Z6zallocP7MemZonem");

MemZone *zcreateFailing(size_t firstBytes)
{
    return mustFail() ? nullptr : zcreateReal(firstBytes);
}

void *zallocFailing(MemZone *zone, size_t size)
{
    return mustFail() ? nullptr : zallocReal(zone, size);
}

namespace {

/* A font that needs every kind of allocation: names of its own, a custom glyph name, a generated
 * one for an index without name, and one for a glyph without index. */
std::string needyFont()
{
    FontBuilder font;
    font.glyphs.assign(3, "");
    font.replaced["name"] = nameTable({{3, 1, 0x409, 6, utf16("Name")}});
    font.replaced["post"] = postWithNames({258, 900}, {"custom"});
    return font.build();
}

TEST(Allocation, EachFailureIsReportedOnceAndNothingIsWritten)
{
    std::string font = needyFont();
    std::multiset<int> lines;
    for (int n = 0;; n++) {
        allocationsLeft = n;
        FontConversion conversion = convertFont(font);
        bool failed = allocationsLeft < 0;
        allocationsLeft = -1;
        if (!failed) {
            EXPECT_FALSE(conversion.stopped);
            EXPECT_TRUE(hasLine(conversion, "%%%%EndFont"));
            break;
        }
        EXPECT_TRUE(conversion.stopped) << n;
        EXPECT_EQ(conversion.text, "") << n;
        ASSERT_EQ(conversion.reports.size(), 1U) << n;
        int line = 0;
        sscanf(conversion.reports[0].c_str(), "ZOLAK:%d", &line);
        EXPECT_EQ(conversion.reports[0],
                  "ZOLAK:" + std::to_string(line) + " 4 out of memory: Out of memory");
        lines.insert(line);
    }
    /* 1365 three times: the zone, the file, the names of the font. */
    EXPECT_EQ(lines, (std::multiset<int>{1365, 1365, 1365, 1431, 1235, 1263, 1287, 1299}));
}

} // namespace
