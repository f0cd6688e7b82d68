/*
 * values.cpp - lengths and sizes of paper
 */
#include "programs/printing/values.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <strings.h>

namespace {

struct PaperName {
    const char *name;
    int width, height; /* points */
};
constexpr PaperName papers[] = {
    {"a3", 842, 1191},      {"a4", 595, 842},      {"a5", 420, 595},        {"a6", 298, 420},
    {"b4", 709, 1001},      {"b5", 499, 709},      {"letter", 612, 792},    {"legal", 612, 1008},
    {"tabloid", 792, 1224}, {"ledger", 1224, 792}, {"executive", 522, 756}, {"statement", 396, 612},
    {"folio", 612, 936},
};

double pointsOf(const char *unit)
{
    return strcasecmp(unit, "mm") == 0   ? 72 / 25.4
           : strcasecmp(unit, "cm") == 0 ? 72 / 2.54
           : strcasecmp(unit, "in") == 0 ? 72
           : strcasecmp(unit, "pt") == 0 ? 1
                                         : 0;
}

/* "210x297mm" */
bool readSize(const std::string &text, const char *usualUnit, int *width, int *height)
{
    double w, h;
    char unit[8];
    snprintf(unit, sizeof unit, "%s", usualUnit);
    int used = 0;
    if (sscanf(text.c_str(), "%lfx%lf%n%7s", &w, &h, &used, unit) < 2)
        return false;
    double points = pointsOf(unit);
    constexpr double SMALLEST = 1, LARGEST = 100000;
    w = std::round(w * points);
    h = std::round(h * points);
    if (!(w >= SMALLEST && w <= LARGEST && h >= SMALLEST && h <= LARGEST))
        return false;
    *width = (int)w;
    *height = (int)h;
    return true;
}

} // namespace

bool readPaperSize(const std::string &name, const char *unit, int *width, int *height)
{
    for (const PaperName &known : papers)
        if (strcasecmp(known.name, name.c_str()) == 0) {
            *width = known.width;
            *height = known.height;
            return true;
        }
    return readSize(name, unit, width, height);
}

bool readLength(const std::string &text, double *points)
{
    constexpr double LONGEST = 100000;
    char unit[8] = "pt"; /* as in "0" */
    double number = 0;
    int used = 0;
    sscanf(text.c_str(), "%lf%n%7s%n", &number, &used, unit, &used);
    *points = number * pointsOf(unit);
    bool isRead = used == (int)text.size() && used > 0;
    return isRead && pointsOf(unit) > 0 && *points >= 0 && *points <= LONGEST;
}
