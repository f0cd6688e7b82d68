/*
 * pdf_to_ps.cpp - the library's one call
 *
 * A call has surroundings, a controller and an instance of its own and runs the conversion that the
 * program runs.
 */
#include "pdf_to_ps/pdf_to_ps.h"

#include <cerrno>
#include <new>
#include <string>
#include <unistd.h>

#include "library/builtin.h"
#include "tools/zolak1_3/pdf_to_ps/frame/conversion.h"
#include "tools/zolak1_3/pdf_to_ps/frame/framework.h"
#include "zelkov/host.h"

namespace pdf_to_ps {

namespace {

/* ---- messages */

struct Hearer {
    const Options *options;
    const ConversionRun *run; /* null before there is one */
};

void hear(const Hearer &hearer, const char *module, int32_t severity, const char *key,
          const char *text)
{
    /* What fails because the run was told to end is no news. */
    if (!hearer.options->message || (hearer.run && hearer.run->wasCancelled))
        return;
    int page = hearer.run ? hearer.run->currentPage : 0;
    hearer.options->message(hearer.options->messageContext,
                            {module, (Severity)severity, key, text, page});
}

void hearMessage(void *context, const ControlMessage &message)
{
    hear(*static_cast<const Hearer *>(context), message.module.c_str(), message.severity,
         message.key.c_str(), message.text.c_str());
}

/* A line of the host layer. */
void hearLine(void *context, const std::string &line)
{
    hear(*static_cast<const Hearer *>(context), "SYSTEM", SEVERITY_INFO, "FILE", line.c_str());
}

/* ---- files */

/* A path by itself: never the name of a location that the host layer knows. */
std::string exactPath(const char *path)
{
    std::string text = path;
    return text.find('/') == std::string::npos ? "./" + text : text;
}

int writeToDescriptor(void *context, const uint8_t *bytes, size_t count)
{
    const int descriptor = *static_cast<const int *>(context);
    while (count > 0) {
        ssize_t done = write(descriptor, bytes, count);
        if (done < 0 && errno != EINTR)
            return errno;
        if (done > 0) {
            bytes += done;
            count -= (size_t)done;
        }
    }
    return 0;
}

int writeToSink(void *context, const uint8_t *bytes, size_t count)
{
    const Output *output = static_cast<const Output *>(context);
    return output->write(output->context, bytes, count);
}

ZFile *openInput(const Input &input)
{
    if (input.path)
        return fopenr("", exactPath(input.path).c_str(), "", 0);
    return input.descriptor >= 0 ? fopendescriptor(input.descriptor)
                                 : fopenmemory(input.bytes, input.byteCount);
}

ZFile *openOutput(const Output &output)
{
    if (output.path)
        return fopenw("", exactPath(output.path).c_str(), "", 0);
    if (output.descriptor >= 0)
        return fopensink({writeToDescriptor, const_cast<int *>(&output.descriptor)});
    return fopensink({writeToSink, const_cast<Output *>(&output)});
}

const char *inputName(const Input &input)
{
    if (input.path)
        return input.path;
    return input.name ? input.name : "document";
}

/* The file, whose path `kept` holds, or what is built in. */
PostScriptPart partOf(const char *path, const BuiltinFile &builtin, std::string *kept)
{
    if (!path)
        return {"", builtin.bytes, builtin.count};
    *kept = exactPath(path);
    return {kept->c_str(), nullptr, 0};
}

/* ---- one call */

bool isUsable(const Input &input, const Output &output, const Options &options)
{
    bool hasInput = input.path || input.descriptor >= 0 || input.bytes;
    bool hasOutput = output.path || output.descriptor >= 0 || output.write;
    return hasInput && hasOutput && options.page >= 0;
}

void takeOptions(ConversionRun *run, const Options &options)
{
    run->acceptsEncrypted = options.acceptEncrypted;
    run->selectedPage = options.page;
    run->decodesContent = options.decodeContent;
    run->cancel = options.cancel;
}

Status statusOf(const ConversionRun &run)
{
    if (!run.errorFlag)
        return Status::converted;
    return run.wasCancelled ? Status::cancelled : Status::failed;
}

Result convertOne(const Input &input, const Output &output, const Options &options)
{
    Hearer hearer = {&options, nullptr};
    Host here;
    here.listener = hearLine;
    here.listenerContext = &hearer;
    if (options.temporaryDirectory)
        here.temporaryParent = options.temporaryDirectory;
    HostScope scope(here);

    Framework framework;
    if (!framework.create()) {
        hear(hearer, "ZOLAK", SEVERITY_ERROR, "out of memory", "Out of memory");
        return {Status::failed, 0, 0};
    }
    ConversionRun *run = framework.begin(hearMessage, &hearer);
    hearer.run = run;

    ConversionFiles files;
    files.inputName = inputName(input);
    files.outputName = output.path ? output.path : "(output)";
    std::string prologPath, trailerPath;
    files.prolog = partOf(options.prologPath, builtinProlog, &prologPath);
    files.trailer = partOf(options.trailerPath, builtinTrailer, &trailerPath);
    files.openInput = [&input] { return openInput(input); };
    files.openOutput = [&output] { return openOutput(output); };
    takeOptions(run, options);
    convertDocument(run, files);
    control_endRun(framework.controller);

    Status status = statusOf(*run);
    return {status, run->pagesWritten, status == Status::converted ? run->bytesWritten : 0};
}

} // namespace

Result convert(const Input &input, const Output &output, const Options &options) noexcept
{
    if (!isUsable(input, output, options))
        return {Status::misused, 0, 0};
    int saved = errno;
    Result result = {Status::failed, 0, 0};
    try {
        result = convertOne(input, output, options);
    } catch (const std::bad_alloc &) {
        hear({&options, nullptr}, "ZOLAK", SEVERITY_ERROR, "out of memory", "Out of memory");
    }
    errno = saved;
    return result;
}

const char *version() noexcept
{
    return PDF_TO_PS_VERSION;
}

} // namespace pdf_to_ps
