/*
 * comments.cpp - the comments that give a job its structure
 */
#include "job/comments.h"

#include <algorithm>
#include <set>

#include "zelkov/format.h"

namespace job {

namespace {

constexpr size_t LONGEST_TEXT = 200;
constexpr size_t LONGEST_LINE = 240;

struct Box {
    int64_t left = 0, bottom = 0, right = 0, top = 0;
};

Placement placed(const Options &options, const PlannedPage &page)
{
    return placePage(page.width(), page.height(), options.paper);
}

/* What all pages cover. */
Box boundingBox(const Options &options, const Plan &plan)
{
    Box all;
    bool isFirst = true;
    for (const PlannedPage &page : plan.pages) {
        if (page.isEmpty())
            continue;
        Placement at = placed(options, page);
        Box box = {at.left, at.bottom, at.right, at.top};
        if (isFirst)
            all = box;
        all = {std::min(all.left, box.left), std::min(all.bottom, box.bottom),
               std::max(all.right, box.right), std::max(all.top, box.top)};
        isFirst = false;
    }
    return all;
}

void writeBox(ZFile *job, const char *comment, const Box &box)
{
    fputstr_arg(job, "%%%%%s: %lld %lld %lld %lld", comment, (long long)box.left,
                (long long)box.bottom, (long long)box.right, (long long)box.top);
}

std::string mediaName(int64_t width, int64_t height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

/* The sizes of paper, each once. */
void writeMedia(ZFile *job, const Options &options, const Plan &plan)
{
    std::set<std::pair<int64_t, int64_t>> seen;
    for (const PlannedPage &page : plan.pages) {
        Placement at = placed(options, page);
        if (page.isEmpty() || !seen.emplace(at.paperWidth, at.paperHeight).second)
            continue;
        fputstr_arg(job, "%%%%%s %s %lld %lld 0 () ()", seen.size() == 1 ? "DocumentMedia:" : "+",
                    mediaName(at.paperWidth, at.paperHeight).c_str(), (long long)at.paperWidth,
                    (long long)at.paperHeight);
    }
}

/* The fonts that the printer must have, as many to a line as fit. */
void writeNeededFonts(ZFile *job, const Plan &plan)
{
    std::string line = "%%DocumentNeededResources:";
    size_t bare = line.size();
    for (const std::string &font : plan.residentFonts) {
        std::string word = " font " + font;
        if (line.size() + word.size() > LONGEST_LINE) {
            fputstr(job, line.c_str());
            line = "%%+";
        }
        line += word;
    }
    if (line.size() > bare || line == "%%+")
        fputstr(job, line.c_str());
}

void writeRequirements(ZFile *job, const Options &options)
{
    std::string words;
    if (options.copies > 1)
        words += " numcopies(" + std::to_string(options.copies) + ")";
    if (options.copies > 1 && options.isCollated)
        words += " collate";
    if (options.duplex == Duplex::LONG_EDGE)
        words += " duplex";
    if (options.duplex == Duplex::SHORT_EDGE)
        words += " duplex(tumble)";
    if (!words.empty())
        fputstr_arg(job, "%%%%Requirements:%s", words.c_str());
}

/* One setting of the device, which a device may refuse. */
void writeSetting(ZFile *job, const char *feature, const std::string &entries)
{
    fputstr_arg(job, "%%%%BeginFeature: *%s", feature);
    fputstr_arg(job, "mark { << %s >> setpagedevice } stopped cleartomark", entries.c_str());
    fputstr(job, "%%EndFeature");
}

} // namespace

std::string commentText(const std::string &text)
{
    std::string out = "(";
    for (char c : text) {
        bool isSpecial = c == '(' || c == ')' || c == '\\';
        if (out.size() + (isSpecial ? 2 : 1) >= LONGEST_TEXT)
            break;
        if (isSpecial)
            out += '\\';
        out += c >= ' ' && c <= '~' ? c : '?';
    }
    return out + ")";
}

void writeHeader(ZFile *job, const Options &options, const Plan &plan)
{
    fputstr(job, options.isEncapsulated ? "%!PS-Adobe-3.0 EPSF-3.0" : "%!PS-Adobe-3.0");
    fputstr_arg(job, "%%%%Title: %s", commentText(options.title).c_str());
    fputstr(job, "%%Creator: (pdf_print " PDF_PRINT_VERSION ")");
    fputstr_arg(job, "%%%%LanguageLevel: %d", options.level);
    fputstr_arg(job, "%%%%DocumentData: %s", options.isBinary ? "Binary" : "Clean7Bit");
    fputstr_arg(job, "%%%%Pages: %zu", plan.pages.size());
    fputstr(job, "%%PageOrder: Ascend");
    writeBox(job, "BoundingBox", boundingBox(options, plan));
    if (!options.isEncapsulated) {
        writeMedia(job, options, plan);
        writeRequirements(job, options);
    }
    writeNeededFonts(job, plan);
    fputstr(job, "%%DocumentSuppliedResources: procset pdf_to_ps " PDF_PRINT_VERSION " 0");
    fputstr(job, "%%EndComments");
}

void writeDeviceSettings(ZFile *job, const Options &options)
{
    if (options.isEncapsulated)
        return;
    if (options.copies > 1) {
        writeSetting(job, "NumCopies", "/NumCopies " + std::to_string(options.copies));
        writeSetting(job, "Collate", options.isCollated ? "/Collate true" : "/Collate false");
    }
    if (options.duplex == Duplex::OFF)
        writeSetting(job, "Duplex None", "/Duplex false");
    if (options.duplex == Duplex::LONG_EDGE)
        writeSetting(job, "Duplex DuplexNoTumble", "/Duplex true /Tumble false");
    if (options.duplex == Duplex::SHORT_EDGE)
        writeSetting(job, "Duplex DuplexTumble", "/Duplex true /Tumble true");
}

void writePageComments(ZFile *job, const Options &options, const PlannedPage &page, int ordinal)
{
    Placement at = placed(options, page);
    fputstr_arg(job, "%%%%Page: %s %d", commentText(page.label).c_str(), ordinal);
    writeBox(job, "PageBoundingBox", {at.left, at.bottom, at.right, at.top});
    if (options.isEncapsulated)
        return;
    fputstr_arg(job, "%%%%PageMedia: %s", mediaName(at.paperWidth, at.paperHeight).c_str());
    fputstr(job, "%%BeginPageSetup");
    fputstr_arg(job, "%lld %lld PdfSize", (long long)at.paperWidth, (long long)at.paperHeight);
    fputstr(job, "%%EndPageSetup");
}

} // namespace job
