/*
 * hostile_job.cpp - prints hostile pages and looks for what they must not do
 */
#include "tests/postscript/hostile_job.h"

#include <gtest/gtest.h>

#include "tests/postscript/tripwires.h"
#include "tests/support/conversion.h"
#include "tests/support/printing.h"

const char *const MARKING = "userdict /Marker 1 put (MARKER) print (marker.txt) (w) file "
                            "dup (x) writestring closefile";

namespace {

/* A page tells its place in the job by its picture: 16 squares, black for a bit that is set. */
constexpr int PLACE_BITS = 16;

/* The place of a clean page, or -1: the page is another one. */
int placeOf(const Picture &page)
{
    auto near = [&page](int x, int y, int red, int green) {
        const uint8_t *pixel = page.at(x * page.width / 200, (199 - y) * page.height / 200);
        return abs(pixel[0] - red) < 20 && abs(pixel[1] - green) < 20;
    };
    if (page.width != 50 || page.height != 50 || !near(100, 8, 255, 0))
        return -1;
    int place = 0;
    for (int bit = 0; bit < PLACE_BITS; bit++) {
        int x = 40 + bit % 4 * 40, y = 40 + bit / 4 * 40;
        if (near(x, y, 0, 0))
            place |= 1 << bit;
        else if (!near(x, y, 128, 128))
            return -1;
    }
    return place;
}

std::string cleanContent(size_t place)
{
    std::string content;
    for (int bit = 0; bit < PLACE_BITS; bit++)
        content += std::string(place >> bit & 1 ? "0" : "0.5") + " g " +
                   std::to_string(20 + bit % 4 * 40) + " " + std::to_string(20 + bit / 4 * 40) +
                   " 40 40 re f\n";
    return content + "1 0 0 rg 0 0 200 20 re f";
}

std::string cleanPage(size_t place)
{
    return pageDescription(cleanContent(place));
}

/* The same page in PostScript, which needs nothing of ours. */
std::string cleanPostScript(size_t place)
{
    return "<< /PageSize [200 200] >> setpagedevice\n"
           "20 dict begin /g { setgray } def /rg { setrgbcolor } def /f { } def /re { rectfill } "
           "def\n" +
           cleanContent(place) + "\nend showpage\n";
}

/* No mark, no file, no error that ends the job, nothing on the stacks, every clean page there. */
void expectClean(const PrintedJob &job, const std::vector<std::string> &names, const char *how)
{
    SCOPED_TRACE(how);
    EXPECT_EQ(job.status, 0);
    EXPECT_TRUE(job.files.empty()) << job.files.front();
    for (const std::string &line : job.lines)
        for (const char *sign : {"MARKER", "STACK", "DICTIONARIES", "Error: "})
            EXPECT_EQ(line.find(sign), std::string::npos) << line;
    std::vector<int> found(names.size(), 0);
    for (const Picture &page : job.pages) {
        int place = placeOf(page);
        if (place >= 0 && (size_t)place < found.size())
            found[(size_t)place]++;
    }
    for (size_t i = 0; i < names.size(); i++)
        EXPECT_GE(found[i], 1) << "the page behind this one is not there: " << names[i];
}

/* Asks for the mark and for the stacks at the end of each page. */
const char *const ASK = R"(
/EndPageDescription [
    /EndPageDescription load /exec load
    { userdict /Marker get 0 ne { (MARKER ) print userdict /Marker 0 put } if
      count FirstCount ne { (STACK ) print count = FirstCount = } if
      countdictstack DictBase ne { (DICTIONARIES ) print countdictstack = } if } /exec load
] cvx def
count /FirstCount exch def
)";

} // namespace

void HostileJob::add(const std::string &name, const std::string &pages)
{
    names.push_back(name);
    texts.push_back(pages);
}

bool HostileJob::addPdf(const std::string &name, const std::string &pdf,
                        const std::vector<std::string> &switches)
{
    if (switches.empty()) {
        for (const std::vector<std::string> &way :
             std::vector<std::vector<std::string>>{{"-q", "--no-prepare"}, {"-q"}}) {
            PrintRun run = printPdf(pdf, way);
            if (!run.hasOutput)
                continue;
            jobNames.push_back(name + (way.size() == 1 ? ", prepared" : ", as it stands"));
            jobs.push_back(run.output);
        }
    }
    Conversion conversion = convertPdf(pdf, switches);
    if (conversion.status != 0)
        return false;
    add(name, conversion.pages);
    return true;
}

/* Behind each job a page in plain PostScript: the job has gone, and nothing of it has run. */
void HostileJob::expectHarmlessJobs()
{
    const std::string ask = "Marker 0 ne { (MARKER ) print /Marker 0 def } if "
                            "count 0 ne { (STACK ) print clear } if "
                            "countdictstack FirstDictionaries ne { (DICTIONARIES ) print } if\n";
    std::string text;
    for (size_t i = 0; i < jobs.size(); i++) {
        text += jobs[i] + ask + cleanPostScript(i);
        EXPECT_EQ(trippedBy(jobs[i]), std::vector<std::string>{}) << jobNames[i];
    }
    PrintOptions options;
    options.safer = false;
    options.before = "userdict /Marker 0 put /FirstDictionaries countdictstack def\n";
    options.dpi = 18;
    options.timeoutSeconds = timeoutSeconds;
    expectClean(printText(text, options), jobNames, "as jobs");
}

void HostileJob::expectHarmless()
{
    if (!jobs.empty())
        expectHarmlessJobs();
    if (texts.empty())
        return;
    std::string pages;
    for (size_t i = 0; i < texts.size(); i++)
        pages += texts[i] + cleanPage(i);
    PrintOptions options;
    options.strict = options.probe = options.safer = false;
    options.before = "userdict /Marker 0 put\n";
    options.afterProlog = ASK;
    options.dpi = 18;
    options.timeoutSeconds = timeoutSeconds;
    expectClean(printPages(pages, options), names, "as page descriptions");
}
