/*
 * plaintables.cpp - the index of a file, read by the routines that a conversion reads it with
 *
 * A reader without a converter: its controller has no instance to stop, so who listens to the
 * messages sets the error flag, and drops them.
 */
#include "tools/zolak1_3/pdf_to_ps/reader/plaintables.h"

#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xref.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xreftable.h"

namespace {

constexpr char HEADER[] = "%PDF-";
constexpr size_t HEADER_BYTES = sizeof HEADER - 1;

struct Close {
    void operator()(ZFile *file) const { fclosx(file); }
};

struct Free {
    void operator()(ZelkovController *controller) const { zelkov_free_inst(controller); }
};

void hearError(void *context, const ControlMessage &message)
{
    if (message.severity == SEVERITY_ERROR)
        static_cast<PdfReader *>(context)->errorFlag = 1;
}

bool hasHeader(ZFile *input)
{
    char start[HEADER_BYTES];
    return fgetm(input, start, HEADER_BYTES) == HEADER_BYTES &&
           memcmp(start, HEADER, HEADER_BYTES) == 0;
}

} // namespace

bool tablesArePlain(const char *path)
{
    /* A name is taken as it stands only when it has a directory. */
    std::string exact = strchr(path, '/') ? path : std::string("./") + path;
    std::unique_ptr<ZFile, Close> input(fopenr("", exact.c_str(), "", 0));
    if (!input || !hasHeader(input.get()))
        return false;
    ZelkovClass *cls = control_baseclass_init();
    std::unique_ptr<ZelkovController, Free> controller(cls ? zelkov_create_inst(cls) : nullptr);
    if (!controller)
        throw std::bad_alloc();
    PdfReader reader = {};
    resetReader(&reader);
    reader.input = input.get();
    reader.controller = controller.get();
    control_listen(controller.get(), hearError, &reader);
    openDocumentIndex(&reader);
    freeTable(&reader);
    return !reader.errorFlag && !reader.namesOtherTable;
}
