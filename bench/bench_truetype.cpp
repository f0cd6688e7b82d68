/*
 * bench_truetype.cpp - how fast a TrueType font becomes a Type 3 font
 *
 *     bench_truetype [font file [seconds]]
 *
 * Prints megabytes (10^6 bytes) of font data per second: of the whole conversion into /dev/null,
 * and of what it stands on, bringing the file into a memory zone and releasing it.
 */
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "tools/zolak1_3/truetype/truetype.h"
#include "zelkov/zelkov.h"

namespace {

constexpr char USUAL_FONT[] = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

void die(const char *what)
{
    fprintf(stderr, "bench_truetype: %s\n", what);
    exit(1);
}

/* The faults of a font are printed once in a real run, not in every one of ours. */
void reportErrorsOnly(ZelkovInstance *self, const char *module, const char *source, int line,
                      int32_t severity, const char *key, const char *format, va_list arguments)
{
    if (severity == SEVERITY_ERROR)
        classMethod<SLOT_REPORT>(control_baseclass_init())(self, module, source, line, severity,
                                                           key, format, arguments);
}

ZelkovInstance *adoptedInstance()
{
    zelkov_class_init();
    ZelkovClass *control = control_baseclass_init();
    ZelkovClass *quiet =
        zelkov_generic_subclass(control, control->instanceSize, ZELKOV_METHOD_COUNT);
    overrideMethod<SLOT_REPORT>(quiet, reportErrorsOnly);
    ZelkovController *controller = zelkov_create_inst(quiet);
    ZelkovInstance *instance = zelkov_create_inst(zelkov_rootclass);
    if (!controller || !instance)
        die("no instance");
    control_adopt(controller, instance);
    return instance;
}

void readOnly(ZFile *input)
{
    MemZone *zone = zcreate(0);
    size_t size = fgeteof(input);
    void *buffer = zone ? zalloc(zone, size) : nullptr;
    if (!buffer || fgetm(input, buffer, size) != size)
        die("cannot read the font");
    zdelete(zone);
}

/* Runs `work` on the rewound input for that long; answers the seconds of the fastest run, which
 * is the one that other programs disturbed least. */
template <class Work> double fastestRun(ZFile *input, double seconds, Work work)
{
    using Clock = std::chrono::steady_clock;
    using Seconds = std::chrono::duration<double>;
    double fastest = seconds;
    for (double passed = 0; passed < seconds;) {
        Clock::time_point begin = Clock::now();
        frewind(input);
        work(input);
        double run = Seconds(Clock::now() - begin).count();
        fastest = std::min(fastest, run);
        passed += run;
    }
    return fastest;
}

void printLine(const char *what, uint32_t bytes, double seconds)
{
    printf("%-24s %9.3f ms  %9.1f MB/s\n", what, seconds * 1e3, bytes / seconds / 1e6);
}

} // namespace

int main(int argc, char **argv)
{
    const char *name = argc > 1 ? argv[1] : USUAL_FONT;
    double seconds = argc > 2 ? atof(argv[2]) : 2;
    ZelkovInstance *instance = adoptedInstance();
    ZFile *input = fopenr("", name, "", 0);
    ZFile *output = fopenw("", "/dev/null", "", 0);
    if (!input || !output)
        die("cannot open the files");

    uint32_t bytes = fgeteof(input);
    double reading = fastestRun(input, seconds, readOnly);
    double whole = fastestRun(
        input, seconds, [instance, output](ZFile *font) { insert_ttfont(instance, font, output); });
    if (zelkov_stopped(instance))
        die("the font was refused");

    printf("%s, %u bytes\n", name, (unsigned)bytes);
    printLine("reading, memory zone", bytes, reading);
    printLine("insert_ttfont", bytes, whole);
    fclosx(output);
    fclosx(input);
    return 0;
}
