/*
 * print_job.cpp - runs Ghostscript on prolog, page descriptions and trailer
 */
#include "tests/postscript/print_job.h"

#include <gtest/gtest.h>

#include "tests/support/conversion.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace {

/* Takes out of systemdict what Language Level 3 has added to it.  (Needs -dWRITESYSTEMDICT.)
 * `filter` and `findresource` become procedures that refuse what only Level 3 has. */
const char LEVEL_TWO[] = R"(%!PS
[ /shfill /clipsave /cliprestore /setsmoothness /currentsmoothness /settrapparams
  /currenttrapparams /settrapzone /findcolorrendering /composefont /GetHalftoneName
  /GetPageDeviceName /GetSubstituteCRD /addglyph /removeglyphs /removeall /StartData
] { systemdict exch undef } forall
systemdict /languagelevel 2 put
/FontSetInit /ProcSet { undefineresource } stopped { pop pop } if
currentglobal true setglobal systemdict begin
/RealFilter /filter load def
/filter { dup /ReusableStreamDecode eq { /filter /undefined errordict exch get exec } if
    //RealFilter exec } bind def
/RealStatus /resourcestatus load def
/resourcestatus { 1 index /ReusableStreamDecode eq 2 index /FontSetInit eq or
    { pop pop false } { //RealStatus exec } ifelse } bind def
/RealFind /findresource load def
/findresource { 1 index /FontSetInit eq { /findresource /undefinedresource errordict exch get exec }
    if //RealFind exec } bind def
/RealFilter /RealStatus /RealFind 3 { systemdict exch undef } repeat
end setglobal
systemdict readonly pop
)";

/* Puts a measurement behind each content operator, and before the end of a page: all operands are
 * used up, the dictionary stack is as it was. */
const char PROBE[] = R"(
/ProbeStacks {
    count 1 sub Fence ne { (PROBE operands ) print dup = } if
    countdictstack DictBase 2 add ne { (PROBE dictionaries ) print dup = } if
    pop
} bind def
/Unmeasured 20 dict def
[ ([) (]) (<<) (>>) (BI) (true) (false) (null) (PageContents) (BeginPageDescription)
  (EndDocument) ] { cvn Unmeasured exch true put } forall
[ ContentOps { pop } forall ] {
    dup Unmeasured exch known { pop } {
        dup ContentOps exch get                     % name operator
        [ exch /exec load 3 index /ProbeStacks load /exec load ] cvx
        ContentOps 3 1 roll put
    } ifelse
} forall
/EndPageDescription [
    { Section type pop (EndPageDescription) ProbeStacks } /exec load
    /EndPageDescription load /exec load
] cvx def
)";

PrintedJob run(const ScratchDirectory &directory, const PrintOptions &options)
{
    std::vector<std::string> command = {"gs",
                                        "-q",
                                        options.safer ? "-dSAFER" : "-dNOSAFER",
                                        "-dBATCH",
                                        "-dNOPAUSE",
                                        "-sDEVICE=ppmraw",
                                        "-dTextAlphaBits=4",
                                        "-dGraphicsAlphaBits=4",
                                        "-r" + std::to_string(options.dpi),
                                        "-sOutputFile=" + (directory / "p-%d.ppm")};
    if (options.levelTwo) {
        command.push_back("-dWRITESYSTEMDICT");
        command.push_back(directory.write("level2.ps", LEVEL_TWO));
    }
    ProgramOptions program;
    if (options.pipe)
        program.input = readFile(directory / "job.ps");
    command.push_back(options.pipe ? "-" : directory / "job.ps");
    program.memoryMegabytes = options.memoryMegabytes;
    program.timeoutSeconds = options.timeoutSeconds;
    program.directory = directory.path;
    ProgramResult result = runProgram(command, program);
    PrintedJob job = {result.status, linesOf(result.out + "\n" + result.err), {}, {}};
    for (int page = 1; fileExists(directory / ("p-" + std::to_string(page) + ".ppm")); page++)
        job.pages.push_back(readPicture(directory / ("p-" + std::to_string(page) + ".ppm")));
    for (const std::string &name : directory.names())
        if (!name.starts_with("p-") && name != "job.ps" && name != "level2.ps")
            job.files.push_back(name);
    return job;
}

std::string trailerText()
{
    return readFile(PDF_TO_PS_DATA "/pdf_pstrailer.ps");
}

} // namespace

std::string prologText()
{
    return readFile(PDF_TO_PS_DATA "/pdf_psprolog.ps");
}

PrintedJob printPages(const std::string &pages, const PrintOptions &options)
{
    const std::string off = "/Strict false def";
    std::string prolog = options.prolog.empty() ? prologText() : options.prolog;
    size_t place = prolog.find(off);
    EXPECT_NE(place, std::string::npos);
    if (options.strict)
        prolog.replace(place, off.size(), "/Strict true def");
    ScratchDirectory directory;
    directory.write("job.ps", options.before + prolog + "/TmpFont (doctmpfont) def\n" +
                                  (options.probe ? PROBE : "") + options.afterProlog + pages +
                                  (options.trailer ? trailerText() : "") + options.after);
    return run(directory, options);
}

PrintedJob printText(const std::string &postscript, const PrintOptions &options)
{
    ScratchDirectory directory;
    directory.write("job.ps", options.before + postscript + options.after);
    return run(directory, options);
}

PrintedJob printFile(const std::string &postscript, int dpi)
{
    PrintOptions options;
    options.dpi = dpi;
    return printText(postscript, options);
}

std::vector<std::string> faultsOf(const PrintedJob &job)
{
    std::vector<std::string> faults;
    for (const std::string &line : job.lines) {
        bool counted = line.starts_with("%%[ pdf_to_ps:") && line.find(" 0 errors") == line.npos;
        if (counted || line.starts_with("PROBE") || line.find("Error: ") != line.npos)
            faults.push_back(line);
    }
    if (job.status != 0)
        faults.push_back("status " + std::to_string(job.status));
    return faults;
}

std::string passedThrough(const std::string &content, const std::string &entries)
{
    return "<<\n/Length " + std::to_string(content.size()) + " \n" + entries +
           ">>\nPageContents\n" + content + "\n";
}

std::string pageDescription(const std::string &content, const std::string &resources)
{
    return "BeginPageDescription\n" + resources +
           "<< /PageSize [ 200 200 ] >> setpagedevice\n0 0 translate\n0 rotate\n" +
           passedThrough(content) + "EndPageDescription\n";
}
