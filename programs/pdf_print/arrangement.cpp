/*
 * arrangement.cpp - the options that say how pages lie on sheets
 */
#include "programs/pdf_print/arrangement.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "programs/printing/values.h"
#include "seam/options.h"

namespace {

constexpr seam::Program PROGRAM = seam::PRINT;
constexpr int MOST_TILES = 10; /* across, and down */

[[noreturn]] void misuse(const std::string &text)
{
    seam::misuse(PROGRAM, text);
}

/* "2x3" */
void readPoster(const char *text, job::Arrangement *arrangement)
{
    int across, down;
    char more;
    if (sscanf(text, "%3dx%3d%c", &across, &down, &more) != 2 || across < 1 || down < 1 ||
        across > MOST_TILES || down > MOST_TILES)
        misuse(std::string("A poster is columns and rows, each up to 10, such as 2x3, not: ") +
               text);
    arrangement->tilesAcross = across;
    arrangement->tilesDown = down;
}

/* "10mm", or two or four of them with commas between */
void readMargins(const std::string &text, job::Paper *paper)
{
    std::vector<double> lengths;
    for (size_t at = 0; at <= text.size();) {
        size_t comma = std::min(text.find(',', at), text.size());
        double length;
        if (!readLength(text.substr(at, comma - at), &length))
            misuse("Margins are lengths such as 10mm, 0.5in or 36pt, not: " + text);
        lengths.push_back(length);
        at = comma + 1;
    }
    if (lengths.size() == 1)
        lengths.push_back(lengths[0]);
    if (lengths.size() == 2)
        lengths.insert(lengths.end(), {lengths[0], lengths[1]});
    if (lengths.size() != 4)
        misuse("Margins are one length, two or four, not: " + text);
    paper->top = lengths[0];
    paper->right = lengths[1];
    paper->bottom = lengths[2];
    paper->left = lengths[3];
}

double readScale(const char *text)
{
    constexpr double LEAST = 1, MOST = 10000;
    char *end;
    double percent = strtod(text, &end);
    if (end != text && *end == '%')
        end++;
    if (end == text || *end || !(percent >= LEAST && percent <= MOST))
        misuse(std::string("A scale is a percentage from 1 to 10000, not: ") + text);
    return percent / 100;
}

/* The words of --n-up-order in their order there. */
struct CellOrder {
    bool isLeftwards, isUpwards, isByColumns;
};
constexpr CellOrder orders[] = {
    {false, false, false}, {false, true, false}, {true, false, false}, {true, true, false},
    {false, false, true},  {true, false, true},  {false, true, true},  {true, true, true},
};

} // namespace

bool readArrangement(seam::Option option, const char *value, Arguments *arguments)
{
    using seam::Option;
    constexpr int counts[] = {1, 2, 4, 6, 9, 16}, rotations[] = {90, 180, 270};
    job::Arrangement &arrangement = arguments->job.arrangement;
    job::Paper &paper = arguments->job.paper;
    switch (option) {
    case Option::N_UP:
        arrangement.perSide = counts[seam::readWord(PROGRAM, option, value, "Pages on a side")];
        return true;
    case Option::N_UP_ORDER: {
        CellOrder order = orders[seam::readWord(PROGRAM, option, value, "An order")];
        arrangement.isLeftwards = order.isLeftwards;
        arrangement.isUpwards = order.isUpwards;
        arrangement.isByColumns = order.isByColumns;
        return true;
    }
    case Option::BORDERS:
        arrangement.hasBorders = true;
        return true;
    case Option::BOOKLET:
        arrangement.isBooklet = arguments->job.pages.isBooklet = true;
        return true;
    case Option::POSTER:
        readPoster(value, &arrangement);
        return true;
    case Option::MARGINS:
        readMargins(value, &paper);
        return true;
    case Option::ROTATE:
        arrangement.rotation = rotations[seam::readWord(PROGRAM, option, value, "A rotation")];
        return true;
    case Option::MIRROR:
        arrangement.isMirrored = true;
        return true;
    case Option::FIT:
    case Option::SHRINK:
    case Option::ACTUAL:
    case Option::SCALE:
        paper.factor = option == Option::SCALE ? readScale(value) : 0;
        paper.scaling = option == Option::FIT      ? job::Scaling::FIT
                        : option == Option::SHRINK ? job::Scaling::SHRINK
                                                   : job::Scaling::ACTUAL;
        arguments->isScalingGiven = true;
        return true;
    default:
        return false;
    }
}

void completeArrangement(Arguments *arguments)
{
    job::Arrangement &arrangement = arguments->job.arrangement;
    job::Paper &paper = arguments->job.paper;
    int kinds = (arrangement.perSide > 1) + arrangement.isBooklet + (arrangement.tiles() > 1);
    if (kinds > 1)
        misuse("Only one of --n-up, --booklet and --poster can be had.");
    if (kinds > 0 && arguments->isScalingGiven && paper.scaling == job::Scaling::ACTUAL)
        misuse("With --n-up, --booklet and --poster pages are as large as fits: no --actual and no "
               "--scale.");
    if (kinds > 0 && arguments->job.isEncapsulated)
        misuse("With --eps there is one page on its own: no --n-up, --booklet and --poster.");
    if (kinds > 0 && !arguments->pageMap.empty())
        misuse("Pages are compared one by one: no --n-up, --booklet and --poster.");
    bool isKnown = paper.width > 0;
    if (isKnown &&
        (paper.left + paper.right > paper.width - 1 || paper.top + paper.bottom > paper.height - 1))
        misuse("These margins leave nothing of the paper.");
    if (kinds > 0 && !arguments->isScalingGiven)
        paper.scaling = job::Scaling::FIT;
    if (arrangement.isBooklet) {
        arrangement.perSide = 2;
        if (arguments->job.duplex == job::Duplex::UNSET)
            arguments->job.duplex = job::Duplex::SHORT_EDGE;
    }
    arguments->job.pages.times = arrangement.tiles();
}
