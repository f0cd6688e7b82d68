/*
 * functions.cpp - sampled functions as PostScript procedures
 *
 * The samples become a string that is read once; the procedure clamps and scales its inputs to
 * sample indices, fetches the neighbouring samples by bit arithmetic, interpolates, decodes and
 * rounds.  Every line is written with its line end, leading tabs and trailing blanks included.
 */
#include "tools/zolak1_3/pdf_to_ps/writer/functions.h"

#include <cmath>
#include <cstdint>
#include <memory>
#include <new>

#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/writer/reportlines.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "zelkov/format.h"

namespace {

/* What the dictionary says; the values of the last two are checked and not used. */
struct SampledFunction {
    int32_t bits;     /* per sample */
    int64_t maximum;  /* 2^bits, at most 2147483647 */
    double size[2];   /* samples along each input */
    double domain[4]; /* a pair for each input */
    double range[2];  /* of the first output, used for all */
    int64_t outputs;
    double dataSize; /* bytes of the decoded samples */
};

/* ---- reading */

enum ReadResult { READ_OK, READ_REPORTED, READ_INVALID };

/* The number of items of the array that the key names; -1 when there is none. */
int32_t arrayLength(ConversionRun *run, const PdfDict *dict, const char *key)
{
    if (findKey(run, dict, key) < 0 || peekType(run) != PDF_ARRAY)
        return -1;
    ArrayPtr array = readArray(run);
    int32_t count = array ? array->count : -1;
    findKey(run, dict, key);
    return count;
}

ReadResult readNumbers(ConversionRun *run, const PdfDict *dict, const char *key, int32_t count,
                       double *numbers)
{
    if (arrayLength(run, dict, key) < 0)
        return READ_INVALID;
    return ReadFunctionNumbers(run, count, numbers) ? READ_OK : READ_REPORTED;
}

/* Room for an array of that length; null, reported, without memory. */
std::unique_ptr<double[]> newNumbers(ConversionRun *run, int32_t length)
{
    std::unique_ptr<double[]> numbers(new (std::nothrow) double[(size_t)length + 1]);
    if (!numbers)
        reportOutOfMemory(run, LINE_FUNCTION_MEMORY);
    return numbers;
}

/* Reads an array whose values are not used; it may be absent. */
ReadResult checkNumbers(ConversionRun *run, const PdfDict *dict, const char *key, int64_t count)
{
    int32_t length = arrayLength(run, dict, key);
    if (length < 0)
        return run->errorFlag ? READ_REPORTED : READ_OK;
    int32_t wanted = count > INT32_MAX ? INT32_MAX : (int32_t)count;
    std::unique_ptr<double[]> numbers = newNumbers(run, length);
    bool read = numbers && ReadFunctionNumbers(run, wanted, numbers.get());
    return read ? READ_OK : READ_REPORTED;
}

/* Reads /Range: one pair, or with `anyPairs` any number of them. */
ReadResult readRange(ConversionRun *run, const PdfDict *dict, bool anyPairs, SampledFunction *f)
{
    int32_t length = arrayLength(run, dict, "/Range");
    if (length <= 0)
        return READ_INVALID;
    /* An odd count matches no expectation. */
    int32_t wanted = !anyPairs ? 2 : length % 2 == 0 ? length : length + 1;
    std::unique_ptr<double[]> numbers = newNumbers(run, length);
    if (!numbers || !ReadFunctionNumbers(run, wanted, numbers.get()))
        return READ_REPORTED;
    f->outputs = length / 2;
    f->range[0] = numbers[0];
    f->range[1] = numbers[1];
    return READ_OK;
}

/* A whole number that the key names; with `anyNumber` a fraction is dropped, else refused. */
bool readWhole(ConversionRun *run, const PdfDict *dict, const char *key, bool anyNumber,
               int32_t *value)
{
    if (findKey(run, dict, key) < 0)
        return false;
    PdfType type = peekType(run);
    if (type != PDF_INTEGER && !(anyNumber && type == PDF_REAL))
        return false;
    *value = readInteger(run);
    return true;
}

/* 2^bits, held to the largest integer; a fraction is 0.  (Not with pow, which tells of its
 * overflows through errno, where the reader would take them for a failed read.) */
int64_t powerOfTwo(int32_t bits)
{
    return bits < 0 ? 0 : bits > 30 ? INT32_MAX : (int64_t)1 << bits;
}

bool hasFilter(ConversionRun *run, const PdfDict *dict)
{
    return findKey(run, dict, "/Filter") >= 0;
}

/* Bytes of the decoded samples: /Length when there is no filter. */
double sampleBytes(ConversionRun *run, const PdfStream *stream, const SampledFunction &f,
                   int inputs)
{
    if (!hasFilter(run, stream->dict))
        return stream->length;
    double samples = inputs == 1 ? f.size[0] * (double)f.outputs : f.size[0] * f.size[1];
    double bytes = ceil(samples * f.bits / 8);
    return bytes < 0 ? -1 : bytes;
}

/* Reads the keys in the order in which they are checked; the first failure ends it. */
ReadResult readFunction(ConversionRun *run, const PdfStream *stream, int inputs, SampledFunction *f)
{
    const PdfDict *dict = stream->dict;
    int32_t functionType;
    if (!readWhole(run, dict, "/FunctionType", true, &functionType) || functionType != 0)
        return READ_INVALID;
    if (!readWhole(run, dict, "/BitsPerSample", false, &f->bits))
        return READ_INVALID;
    f->maximum = powerOfTwo(f->bits);

    ReadResult result = readNumbers(run, dict, "/Size", inputs, f->size);
    if (result == READ_OK)
        result = readNumbers(run, dict, "/Domain", 2 * inputs, f->domain);
    if (result == READ_OK)
        result = readRange(run, dict, inputs == 1, f);
    if (result == READ_OK)
        result = checkNumbers(run, dict, "/Decode", 2 * f->outputs);
    if (result == READ_OK)
        result = checkNumbers(run, dict, "/Encode", 2 * inputs);
    if (result != READ_OK)
        return result;
    f->dataSize = sampleBytes(run, stream, *f, inputs);
    return f->dataSize <= INT32_MAX ? READ_OK : READ_INVALID;
}

bool readOrReport(ConversionRun *run, const PdfStream *stream, int inputs, int line,
                  SampledFunction *f)
{
    ReadResult result = readFunction(run, stream, inputs, f);
    if (result == READ_INVALID)
        zolakReport(run, line, SEVERITY_ERROR, "BADFNCT",
                    "PDF attempted to define invalid function.");
    return result == READ_OK;
}

/* ---- writing */

/* Reads the samples into a string, through the stream's filters. */
void writeSamples(ConversionRun *run, const PdfStream *stream, const SampledFunction &f)
{
    ZFile *out = run->output;
    fputstr(out, "currentfile");
    if (hasFilter(run, stream->dict)) {
        fputstr(out, "<<");
        writeDictEntry(run, stream->dict, "/Filter");
        writeDictEntry(run, stream->dict, "/DecodeParms");
        fputstr(out, ">> begin SetFilter end");
    }
    fputstr_arg(out, "%ld string readstring", (long)f.dataSize);
    copyStreamData(run, stream->dataPosition, stream->length);
    writeLines(out, {"pop", "20 dict begin", "/local-dict currentdict def", "/Sample exch def",
                     "{\t//local-dict begin"});
}

/* From the input `source` to its sample index `index`, clamped. */
void writeIndex(ZFile *out, const char *opening, const double *domain, double size)
{
    double low = domain[0], high = domain[1];
    fputstr(out, opening);
    fputstr_arg(out, "\tdup %g ge {pop %g}", high, size - 1);
    fputstr_arg(out, "\t\t{dup %g le {pop 0}", low);
    fputstr_arg(out, "\t\t\t{%g add %g div %g mul ", -low, high - low, size - 1);
    writeLines(out, {"\t\t\t} ifelse", "\t\t} ifelse", "\tdef"});
}

/* Interpolates each of `outputs` values between two fetched arrays and closes the procedure. */
void writeInterpolation(ZFile *out, const char *positions, int64_t outputs)
{
    fputstr_arg(out, "\t\t0 1 %lld { dup 3 index exch get exch 3 index exch get",
                (long long)outputs - 1);
    fputstr(out, positions);
    writeLines(out, {"\t\t3 1 roll } for pop pop ]", "\t\t}} ifelse", "\tdef"});
}

/* f1: the interpolation along the first input, over what f2 fetches. */
void writeF1(ZFile *out, int64_t outputs)
{
    writeLines(out,
               {"\t/f1", "\txmin xmax eq", "\t\t{{xmin f2}}", "\t\t{{", "\t\t[ xmin f2 xmax f2"});
    writeInterpolation(out, "\t\t\t_i xmin xmax 5 3 roll int", outputs);
}

/* The samples of 12 bits: two bytes are joined by which half they begin in. */
void writeFetch12(ZFile *out)
{
    writeLines(out, {"dup 7 and /bit-offset exch def -3 bitshift /byte-offset exch def",
                     "   //Sample byte-offset get //Sample byte-offset 1 add get",
                     "bit-offset 0 eq", "           {-4 bitshift exch 4 bitshift or}",
                     "           {exch 15 and 8 bitshift or} ifelse "});
}

/* The last of the bytes of a sample of 16, 24 or 32 bits, counted from 0. */
int lastByte(int32_t bits)
{
    return bits == 16 ? 1 : bits == 24 ? 2 : 3;
}

/* f2 of one input: fetches all outputs of the sample at an index. */
void writeFetch1(ZFile *out, const SampledFunction &f)
{
    writeLines(out, {"\t/f2", "\t{/px exch def ["});
    fputstr_arg(out, "\t 0 %g px limit %lld mul %lld { dup", f.size[0] - 1,
                (long long)f.bits * f.outputs, (long long)f.outputs);
    if (f.bits < 9) {
        fputstr(out, "dup 7 and exch -3 bitshift");
        fputstr_arg(out,
                    "         //Sample exch get exch %lld sub bitshift %lld and exch %d add } "
                    "repeat pop ] } def",
                    8 - (long long)f.bits, (long long)f.maximum - 1, f.bits);
    } else if (f.bits == 12) {
        writeFetch12(out);
        fputstr_arg(out, "         exch %d add} repeat pop", f.bits);
        fputstr(out, "    ] } def  ");
    } else {
        fputstr(out, "-3 bitshift /byte-offset exch def");
        fputstr_arg(out,
                    "0 0 1 %d {byte-offset add //Sample exch get exch 8 bitshift or} for exch %d "
                    "add} repeat pop ] } def",
                    lastByte(f.bits), f.bits);
    }
}

/* f3 of two inputs: fetches the one sample at a pair of indices. */
void writeFetch2(ZFile *out, const SampledFunction &f)
{
    writeLines(out, {"\t/f3", "\t{/py exch def ["});
    fputstr_arg(out, "\t 0 %g py limit %g mul 0 %g px limit add %d mul ", f.size[1] - 1, f.size[0],
                f.size[0] - 1, f.bits);
    if (f.bits < 9) {
        fputstr(out, "dup 7 and exch -3 bitshift");
        fputstr_arg(out, "         //Sample exch get exch %lld sub bitshift %lld and ] } def",
                    8 - (long long)f.bits, (long long)f.maximum - 1);
    } else if (f.bits == 12) {
        writeFetch12(out);
        fputstr(out, "    ] } def  ");
    } else {
        fputstr(out, "-3 bitshift /byte-offset exch def");
        fputstr_arg(out,
                    "0 0 1 %d {byte-offset add //Sample exch get exch 8 bitshift or} for ] } def",
                    lastByte(f.bits));
    }
}

void writeRounding(ZFile *out, const SampledFunction &f)
{
    fputstr_arg(out, "\t/rnd { %lld mul 0.5 add floor %lld div } def", (long long)f.maximum,
                (long long)f.maximum);
    fputstr(out, "\tf1 aload pop ");
}

/* Decodes one output from its samples into the range. */
void writeDecoding(ZFile *out, const SampledFunction &f)
{
    double low = f.range[0], high = f.range[1];
    long long top = (long long)f.maximum - 1;
    fputstr_arg(out, "\tdup %lld ge {pop %g}", top, high);
    fputstr_arg(out, "\t\t{dup 0 le {pop %g}", low);
    fputstr_arg(out, "\t\t\t{%lld div %g mul %g sub ", top, high - low, -low);
    writeLines(out, {"\t\t\t} ifelse", "\t\t} ifelse", "\trnd"});
}

} // namespace

bool ReadFunctionNumbers(ConversionRun *run, int32_t count, double *numbers)
{
    ArrayPtr array = readArray(run);
    if (!array) {
        reportOutOfMemory(run, LINE_FUNCTION_MEMORY);
        return false;
    }
    if (array->count != count) {
        zolakReport(run, LINE_FUNCTION_ARRAY, SEVERITY_ERROR, "BADFNCT",
                    "Invalid array used to define PDF function.");
        return false;
    }
    for (int32_t i = 0; i < count; i++) {
        fputp(run->input, array->items[i]);
        numbers[i] = readNumber(run);
    }
    return !run->errorFlag;
}

void WriteSampledFunction1(ConversionRun *run, const PdfStream *stream)
{
    SampledFunction f = {};
    if (run->errorFlag || !readOrReport(run, stream, 1, LINE_BAD_FUNCTION1, &f))
        return;
    ZFile *out = run->output;
    writeSamples(run, stream, f);
    fputstr(out, "\t/_x exch def");
    writeIndex(out, "\t/_i _x ", f.domain, f.size[0]);
    writeLines(out, {"\t/xmin _i cvi def", "\t/xmax _i ceiling cvi def"});
    writeF1(out, f.outputs);
    writeFetch1(out, f);
    writeRounding(out, f);
    for (int64_t i = 0; i < f.outputs; i++) {
        writeDecoding(out, f);
        fputstr_arg(out, "      %lld 1 roll", (long long)f.outputs);
    }
    writeLines(out, {"\tend", "} bind end"});
}

void WriteSampledFunction2(ConversionRun *run, const PdfStream *stream)
{
    SampledFunction f = {};
    if (run->errorFlag || !readOrReport(run, stream, 2, LINE_BAD_FUNCTION2, &f))
        return;
    ZFile *out = run->output;
    writeSamples(run, stream, f);
    fputstr(out, "\t/_y exch def");
    fputstr_arg(out, "\t1 %lld div add dup %g gt {pop %g} if /_x exch def", (long long)f.maximum,
                f.domain[1], f.domain[1]);
    writeIndex(out, "\t/_i _x ", f.domain, f.size[0]);
    writeIndex(out, "\t/_j _y ", f.domain + 2, f.size[1]);
    writeLines(out, {"\t/xmin _i cvi def", "\t/xmax _i ceiling cvi def", "\t/ymin _j cvi def",
                     "\t/ymax _j ceiling cvi def"});
    writeF1(out, 1);
    writeLines(out, {"\t/f2", "\tymin ymax eq", "\t\t{{/px exch def ymin f3}}",
                     "\t\t{{/px exch def ", "\t\t[ ymin f3 ymax f3"});
    writeInterpolation(out, "\t\t\t_j ymin ymax 5 3 roll int", 1);
    writeFetch2(out, f);
    writeRounding(out, f);
    writeDecoding(out, f);
    writeLines(out, {"\tend", "} bind end"});
}

void DefineFunctionResource(ConversionRun *run, const char *prefix, const char *suffix, int inputs)
{
    if (run->errorFlag || peekType(run) == PDF_NAME)
        return;
    StreamPtr stream = readStream(run);
    if (run->errorFlag)
        return;
    fputstr_arg_noeol(run->output, "%s%s ", prefix, suffix);
    if (inputs == 1)
        WriteSampledFunction1(run, stream.get());
    else
        WriteSampledFunction2(run, stream.get());
    fputstr(run->output, "/Function defineRes pop");
}
