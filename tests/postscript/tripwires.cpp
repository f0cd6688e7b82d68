/*
 * tripwires.cpp - Ghostscript with everything that it has, files too, behind the tripwires
 */
#include "tests/postscript/tripwires.h"

#include "tests/support/conversion.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

std::vector<std::string> trippedBy(const std::string &job)
{
    ScratchDirectory files, here;
    std::string path = files.write("job.ps", job + "\nTripwire:Report\n");
    ProgramOptions settings;
    settings.directory = here.path;
    settings.environment = {{"TMPDIR", here.path}, {"HOME", here.path}};
    ProgramResult result =
        runProgram({"gs", "-q", "-dNOSAFER", "-dNOEPS", "-dWRITESYSTEMDICT", "-dBATCH", "-dNOPAUSE",
                    "-sDEVICE=ppmraw", "-r18", "-sOutputFile=/dev/null", TRIPWIRES, path},
                   settings);
    std::vector<std::string> tripped;
    bool isWhole = false;
    for (const std::string &line : linesOf(result.out)) {
        isWhole = isWhole || line.starts_with("%%[ TRIPWIRES: 0 ");
        if (line.starts_with("%%[ TRIPWIRE:"))
            tripped.push_back(line);
    }
    for (const std::string &name : here.names())
        tripped.push_back("a file: " + name);
    if (!isWhole && tripped.empty())
        tripped.push_back("the job has not come to its end: " + result.out + result.err);
    return tripped;
}
