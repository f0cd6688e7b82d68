/*
 * filespec_test.cpp - file specifications: locations, defaults, the name component
 */
#include "zelkov/filespec.h"

#include <cerrno>
#include <gtest/gtest.h>

#include "tests/support/scratch_directory.h"
#include "zelkov/host.h"

namespace {

std::string nameOf(const char *specification)
{
    char name[FPARSE_RESULT_BYTES];
    EXPECT_EQ(fparse(name, specification, "", "NAM"), 0);
    return name;
}

} // namespace

TEST(FileSpec, DefaultsFillInWhatTheNameLacks)
{
    EXPECT_EQ(filespec_resolve("", "doc", ".pdf"), "doc.pdf");
    EXPECT_EQ(filespec_resolve("", "doc.txt", ".pdf"), "doc.txt");
    EXPECT_EQ(filespec_resolve("", "a.b/doc", ".pdf"), "a.b/doc.pdf")
        << "only a dot in the last component counts";
    EXPECT_EQ(filespec_resolve("", ".hidden", ".pdf"), ".hidden");
    EXPECT_EQ(filespec_resolve("out", "doc", ".ps"), "out/doc.ps");
    EXPECT_EQ(filespec_resolve("out", "./doc", ".ps"), "./doc.ps");
    EXPECT_EQ(filespec_resolve("out", "doc", "sub/.ps"), "sub/doc.ps");
    EXPECT_EQ(filespec_resolveExact("", "doc", ".ps"), "doc");
}

TEST(FileSpec, AnEmptyNameIsNoFile)
{
    errno = 0;
    EXPECT_EQ(filespec_resolve("", "", ".pdf"), "");
    EXPECT_EQ(errno, ENOENT);
}

TEST(FileSpec, ADirectoryIsNoFile)
{
    for (const char *name : {"out/", "/", "KV_TMP:", "KV_DAT_PS:"}) {
        errno = 0;
        EXPECT_EQ(filespec_resolve("", name, ".ps"), "") << name;
        EXPECT_EQ(errno, EISDIR) << name;
        EXPECT_EQ(filespec_resolveExact("", name, ".ps"), "") << name;
    }
}

TEST(FileSpec, TheDataLocationIsTheRunsOwnWhenSet)
{
    host().dataDirectory = "/some/where";
    EXPECT_EQ(filespec_resolve("", "KV_DAT_PS:x", ".ps"), "/some/where/x.ps");
    EXPECT_EQ(filespec_resolve("", "x", "KV_DAT_PS:.ps"), "/some/where/x.ps");
    EXPECT_EQ(filespec_resolve("", "./x", "KV_DAT_PS:.ps"), "./x.ps");
    host().dataDirectory.clear();
}

TEST(FileSpec, WithoutOneABuildTreeProgramFindsTheDataBuilt)
{
    EXPECT_TRUE(filespec_dataDirectory().ends_with("data/ps/"));
}

TEST(FileSpec, TheNameComponentHasNeitherDirectoryNorExtension)
{
    EXPECT_EQ(nameOf("report.pdf"), "report");
    EXPECT_EQ(nameOf("/home/me/report.pdf"), "report");
    EXPECT_EQ(nameOf("report"), "report");
    EXPECT_EQ(nameOf("report.v2.pdf"), "report.v2") << "only the last dot begins an extension";
    EXPECT_EQ(nameOf(".pdf"), "");
    EXPECT_EQ(nameOf("KV_TMP:report.pdf"), "report");
}

TEST(FileSpec, WhatWouldBreakAPostScriptNameBecomesAnUnderscore)
{
    EXPECT_EQ(nameOf("a b\tc<d>e[f]g{h}i%j.pdf"), "a_b_c_d_e_f_g_h_i_j");
    EXPECT_EQ(nameOf("a\x01z\x7Fz.pdf"), "a_z_z");
    EXPECT_EQ(nameOf("a(b)\\.pdf"), "a(b)\\") << "left to the caller";
    EXPECT_EQ(nameOf("\xC3\xA4.pdf"), "\xC3\xA4");
}

TEST(FileSpec, TheNameIsCutAt31Bytes)
{
    EXPECT_EQ(nameOf((std::string(31, 'x') + ".pdf").c_str()), std::string(31, 'x'));
    EXPECT_EQ(nameOf((std::string(32, 'x') + ".pdf").c_str()), std::string(31, 'x'));
}

TEST(FileSpec, AnotherSelectorIsRefused)
{
    char name[FPARSE_RESULT_BYTES] = "x";
    errno = 0;
    EXPECT_EQ(fparse(name, "a.pdf", "", "TYP"), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_STREQ(name, "");
}
