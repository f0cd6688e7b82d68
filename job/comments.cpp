/*
 * comments.cpp - the comments that give a job its structure
 */
#include "job/comments.h"

#include <algorithm>
#include <set>

#include "job/ascii.h"
#include "zelkov/format.h"

namespace job {

namespace {

constexpr size_t LONGEST_TEXT = 200;
constexpr size_t LONGEST_LINE = 240;
constexpr char PJL_LANGUAGE_EXIT[] = "\033%-12345X";

/* What the pages of a side cover. */
PointBox boundingBox(const PlacedSide &side)
{
    std::optional<PointBox> all;
    for (const PlacedPage &page : side.pages)
        if (!page.page->isEmpty() || side.pages.size() == 1)
            extend(&all, boxAround(page.at.covered));
    return all.value_or(PointBox{});
}

/* What the header says of all sides. */
struct Summary {
    PointBox box = {};
    std::vector<std::pair<int64_t, int64_t>> media; /* the sizes of paper, each once */
};

Summary summaryOf(const Options &options, const Plan &plan)
{
    Summary summary;
    std::set<std::pair<int64_t, int64_t>> seen;
    std::optional<PointBox> all;
    for (size_t i = 0; i < sideCount(options, plan); i++) {
        PlacedSide side = placedSide(options, plan, i);
        if (std::all_of(side.pages.begin(), side.pages.end(),
                        [](const PlacedPage &page) { return page.page->isEmpty(); }))
            continue;
        std::pair<int64_t, int64_t> size = {side.side.width, side.side.height};
        if (seen.insert(size).second)
            summary.media.push_back(size);
        extend(&all, boundingBox(side));
    }
    summary.box = all.value_or(PointBox{});
    return summary;
}

void writeBox(ZFile *job, const char *comment, const PointBox &box)
{
    fputstr_arg(job, "%%%%%s: %lld %lld %lld %lld", comment, (long long)box.left,
                (long long)box.bottom, (long long)box.right, (long long)box.top);
}

std::string mediaName(int64_t width, int64_t height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

void writeMedia(ZFile *job, const Summary &summary)
{
    const char *comment = "DocumentMedia:";
    for (auto [width, height] : summary.media) {
        fputstr_arg(job, "%%%%%s %s %lld %lld 0 () ()", comment, mediaName(width, height).c_str(),
                    (long long)width, (long long)height);
        comment = "+";
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
    for (char c : asAscii(text)) {
        bool isSpecial = c == '(' || c == ')' || c == '\\';
        if (out.size() + (isSpecial ? 2 : 1) >= LONGEST_TEXT)
            break;
        if (isSpecial)
            out += '\\';
        out += c;
    }
    return out + ")";
}

void writeHeader(ZFile *job, const Options &options, const Plan &plan)
{
    fputstr(job, options.isEncapsulated ? "%!PS-Adobe-3.0 EPSF-3.0" : "%!PS-Adobe-3.0");
    fputstr_arg(job, "%%%%Title: %s", commentText(options.title).c_str());
    if (!options.user.empty())
        fputstr_arg(job, "%%%%For: %s", commentText(options.user).c_str());
    fputstr(job, "%%Creator: (pdf_print " PDF_PRINT_VERSION ")");
    fputstr_arg(job, "%%%%LanguageLevel: %d", options.level);
    fputstr_arg(job, "%%%%DocumentData: %s", options.isBinary ? "Binary" : "Clean7Bit");
    fputstr_arg(job, "%%%%Pages: %zu", sideCount(options, plan));
    fputstr(job, "%%PageOrder: Ascend");
    Summary summary = summaryOf(options, plan);
    writeBox(job, "BoundingBox", summary.box);
    if (!options.isEncapsulated) {
        writeMedia(job, summary);
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
    for (const DeviceSetting &setting : options.settings)
        writeSetting(job, setting.feature.c_str(), setting.entries);
    if (!options.features.empty())
        fputm(job, options.features.data(), options.features.size());
}

/* ---- PJL */

/* A value between quotation marks: printable, and none of them inside. */
std::string pjlText(const std::string &text)
{
    constexpr size_t LONGEST_VALUE = 80;
    std::string out = "\"";
    for (char c : asAscii(text).substr(0, LONGEST_VALUE))
        out += c == '"' ? '\'' : c;
    return out + "\"";
}

void writePjlBegin(ZFile *job, const Options &options)
{
    std::string text = PJL_LANGUAGE_EXIT;
    text += "@PJL JOB NAME = " + pjlText(options.title) + "\r\n";
    text += "@PJL SET JOBNAME = " + pjlText(options.title) + "\r\n";
    if (!options.user.empty())
        text += "@PJL SET USERNAME = " + pjlText(options.user) + "\r\n";
    text += "@PJL ENTER LANGUAGE = POSTSCRIPT\r\n";
    fputm(job, text.data(), text.size());
}

void writePjlEnd(ZFile *job, const Options &options)
{
    std::string text = PJL_LANGUAGE_EXIT;
    text += "@PJL EOJ NAME = " + pjlText(options.title) + "\r\n" + PJL_LANGUAGE_EXIT;
    fputm(job, text.data(), text.size());
}

void writeSideComments(ZFile *job, const Options &options, const PlacedSide &side, size_t ordinal)
{
    std::string label;
    for (const PlacedPage &page : side.pages)
        if (!page.page->label.empty())
            label.append(label.empty() ? "" : ",").append(page.page->label);
    fputstr_arg(job, "%%%%Page: %s %zu", commentText(label).c_str(), ordinal);
    writeBox(job, "PageBoundingBox", boundingBox(side));
    if (options.isEncapsulated)
        return;
    int64_t width = side.side.width, height = side.side.height;
    fputstr_arg(job, "%%%%PageMedia: %s", mediaName(width, height).c_str());
    fputstr(job, "%%BeginPageSetup");
    fputstr_arg(job, "%lld %lld PdfSize", (long long)width, (long long)height);
    fputstr(job, "%%EndPageSetup");
}

} // namespace job
