/*
 * reader.cpp - reports and nesting limits
 */
#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"

#include <cstdarg>

namespace {

constexpr char MODULE[] = "ZOLAK";
constexpr char SOURCE[] = "tools/zolak1_3/pdf_to_ps";

} // namespace

void resetReader(PdfReader *reader)
{
    reader->xref = nullptr;
    reader->xrefCapacity = 0;
    reader->xrefLoaded = 0;
    reader->rootPosition = POSITION_FAILED;
    reader->xrefSize = 0;
    reader->namesOtherTable = false;
    reader->liveStrings = reader->liveNames = reader->liveArrays = reader->liveDicts = 0;
    reader->liveStreams = 0;
    reader->wasCancelled = false;
    reader->firstError = nullptr;
    reader->limits = {};
    memo_clear(&reader->memo);
    reader->digits = {};
}

void zolakReport(PdfReader *reader, int line, Severity severity, const char *key,
                 const char *format, ...)
{
    if (severity == SEVERITY_ERROR && !reader->errorFlag && !reader->firstError) {
        reader->firstError = key;
        reader->firstErrorText = format;
    }
    va_list arguments;
    va_start(arguments, format);
    control_reportArguments(reader->controller, MODULE, SOURCE, line, severity, key, format,
                            arguments);
    va_end(arguments);
}

void reportOutOfMemory(PdfReader *reader, int line)
{
    /* What is missing because the run has stopped is not missing for lack of memory. */
    if (!reader->errorFlag)
        zolakReport(reader, line, SEVERITY_ERROR, "out of memory", "Out of memory");
}

void stopWhenCancelled(PdfReader *reader)
{
    if (!reader->cancel || reader->errorFlag || !reader->cancel->load(std::memory_order_relaxed))
        return;
    reader->wasCancelled = true;
    instanceMethod<SLOT_LISTEN>(reader->instance)(reader->instance, MESSAGE_STOP);
}

NestingLevel::NestingLevel(PdfReader *reader, int32_t &counter) : tooDeep(false), depth(counter)
{
    if (++depth <= NESTING_LIMIT)
        return;
    tooDeep = true;
    zolakReport(reader, __LINE__, SEVERITY_ERROR, "BADOBJ", "Objects are nested too deeply.");
}

NestingLevel::~NestingLevel()
{
    --depth;
}
