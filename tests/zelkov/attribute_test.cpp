/*
 * attribute_test.cpp - attributes stored by name: types, bounds, abbreviations
 */
#include "zelkov/attribute.h"

#include <gtest/gtest.h>
#include <string>

namespace {

/* Two texts and two integers, as classopt lays them out. */
struct Storage {
    char first[TEXT_BYTES];
    char second[TEXT_BYTES];
    int32_t number;
    int32_t flag;
};

const AttributeEntry table[] = {
    {"NUM*BER", {TYPE_INTEGER, 0, AREA_INTEGERS, 0}, ATTRIBUTE_NUMERIC, 0, 100.0F},
    {"SEC*OND", {TYPE_TEXT, 0, AREA_TEXTS, 1}, 0, 0, 10.0F},
    {"FLAG", {TYPE_FLAG, 0, AREA_INTEGERS, 1}, ATTRIBUTE_NUMERIC, 0, 1.0F},
    {"FIRST", {TYPE_TEXT, 0, AREA_TEXTS, 0}, 0, 0, 256.0F},
    {nullptr, {0, 0, 0, 0}, 0, 0, 0.0F},
};

struct Attributes : testing::Test {
    Storage storage = {};
    std::string said;

    int set(const char *name, int32_t value, int32_t type)
    {
        return set(name, static_cast<const void *>(&value), type);
    }
    int set(const char *name, const void *value, int32_t type)
    {
        testing::internal::CaptureStderr();
        int status = classopt("Test", table, &storage, name, value, type);
        said = testing::internal::GetCapturedStderr();
        return status;
    }
};

} // namespace

TEST_F(Attributes, ValuesLandInTheFieldThatTheTableNames)
{
    EXPECT_EQ(set("NUMBER", 42, TYPE_INTEGER), CLASSOPT_STORED);
    EXPECT_EQ(set("FLAG", 1, TYPE_FLAG), CLASSOPT_STORED);
    EXPECT_EQ(set("FIRST", "one", TYPE_TEXT), CLASSOPT_STORED);
    EXPECT_EQ(set("sec", "two", TYPE_TEXT), CLASSOPT_STORED) << "abbreviated, in small letters";
    EXPECT_EQ(storage.number, 42);
    EXPECT_EQ(storage.flag, 1);
    EXPECT_STREQ(storage.first, "one");
    EXPECT_STREQ(storage.second, "two");
    EXPECT_EQ(said, "");
    EXPECT_EQ(set("NUMBER", -7, TYPE_INTEGER), CLASSOPT_STORED) << "there is no lower bound";
    EXPECT_EQ(storage.number, -7);
}

TEST_F(Attributes, AnUnknownNameAndAWrongTypeChangeNothing)
{
    EXPECT_EQ(set("OTHER", 1, TYPE_INTEGER), CLASSOPT_UNKNOWN);
    EXPECT_EQ(set("NU", 1, TYPE_INTEGER), CLASSOPT_UNKNOWN);
    EXPECT_EQ(set("NUMBER", 1, TYPE_FLAG), CLASSOPT_WRONG_TYPE);
    EXPECT_EQ(set("FIRST", 1, TYPE_INTEGER), CLASSOPT_WRONG_TYPE);
    EXPECT_EQ(storage.number, 0);
}

TEST_F(Attributes, AnIntegerAboveItsBoundBecomesTheBound)
{
    EXPECT_EQ(set("NUMBER", 101, TYPE_INTEGER), CLASSOPT_CLAMPED);
    EXPECT_EQ(storage.number, 100);
    EXPECT_EQ(said, "Value of NUMBER is above 100; 100 is used\n");
    EXPECT_EQ(set("NUMBER", 100, TYPE_INTEGER), CLASSOPT_STORED);
}

TEST_F(Attributes, ATextThatIsTooLongIsRefused)
{
    EXPECT_EQ(set("SECOND", "0123456789", TYPE_TEXT), CLASSOPT_STORED);
    EXPECT_EQ(set("SECOND", "01234567890", TYPE_TEXT), CLASSOPT_TOO_LONG);
    EXPECT_STREQ(storage.second, "0123456789") << "the attribute keeps its value";
    EXPECT_EQ(said, "Value of SECOND is longer than 10 characters\n");
    EXPECT_EQ(set("FIRST", std::string(256, 'x').c_str(), TYPE_TEXT), CLASSOPT_STORED);
    EXPECT_EQ(storage.second[0], '0') << "256 characters fit";
}

TEST(Keywords, AreFoundExactly)
{
    struct Row {
        const char *keyword;
        intptr_t value, kind;
    };
    const Row rows[] = {{"Name", 1, 1}, {"Version", 2, 1}, {nullptr, 0, 0}};
    EXPECT_EQ(findkeyword("Version", rows, sizeof(Row)), &rows[1]);
    EXPECT_EQ(findkeyword("version", rows, sizeof(Row)), nullptr);
    EXPECT_EQ(findkeyword("Nam", rows, sizeof(Row)), nullptr);
}
