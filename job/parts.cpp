/*
 * parts.cpp - the definition of one resource by itself, and which of them are equal
 */
#include "job/parts.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <tuple>

#include <zlib.h>

#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "tools/zolak1_3/pdf_to_ps/writer/redirect.h"
#include "tools/zolak1_3/pdf_to_ps/writer/resources.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "zelkov/format.h"
#include "zelkov/text.h"

namespace job {

namespace {

constexpr size_t MOST_DECODED_CONTENT = 64 << 20;

/* Is Flate, without a predictor, all that is to be undone? */
bool isPlainFlate(ConversionRun *run, const PdfDict *dict)
{
    if (findKey(run, dict, "/DecodeParms") >= 0 && peekType(run) != PDF_NULL)
        return false;
    if (findKey(run, dict, "/Filter") < 0)
        return false;
    ArrayPtr filters(nullptr, {run});
    if (peekType(run) == PDF_ARRAY) {
        filters = readArray(run);
        if (!filters || filters->count != 1)
            return false;
        fputp(run->input, filters->items[0]);
    }
    if (peekType(run) != PDF_NAME)
        return false;
    NamePtr name = readName(run);
    return name && (cmpstr(name.get(), "/FlateDecode") == 0 || cmpstr(name.get(), "/Fl") == 0);
}

/* Inflates the stream's data; false when that does not go to its end, or is too much. */
bool inflateContent(ConversionRun *run, const PdfStream *stream, std::string *content)
{
    z_stream z = {};
    if (inflateInit(&z) != Z_OK)
        throw std::bad_alloc();
    std::unique_ptr<z_stream, int (*)(z_stream *)> ended(&z, inflateEnd);
    uint8_t in[16 * 1024];
    size_t left = (size_t)std::max(stream->length, 0);
    fputp(run->input, stream->dataPosition);
    int result = Z_OK;
    while (result == Z_OK) {
        if (z.avail_in == 0 && left > 0) {
            size_t got = fgetm(run->input, in, std::min(left, sizeof in));
            left = got > 0 ? left - got : 0;
            z.next_in = in;
            z.avail_in = (uInt)got;
        }
        uint8_t out[16 * 1024];
        z.next_out = out;
        z.avail_out = sizeof out;
        result = inflate(&z, Z_NO_FLUSH);
        content->append((const char *)out, sizeof out - z.avail_out);
        if (content->size() > MOST_DECODED_CONTENT)
            return false;
    }
    return result == Z_STREAM_END;
}

/* Reads the stream's data as it stands; false when it is too much. */
bool readContent(ConversionRun *run, const PdfStream *stream, std::string *content)
{
    size_t length = (size_t)std::max(stream->length, 0);
    if (length > MOST_DECODED_CONTENT)
        return false;
    content->resize(length);
    fputp(run->input, stream->dataPosition);
    content->resize(fgetm(run->input, (uint8_t *)content->data(), length));
    return true;
}

} // namespace

bool undoneContent(ConversionRun *run, const PdfStream *stream, std::string *content)
{
    if (findKey(run, stream->dict, "/Filter") < 0)
        return readContent(run, stream, content);
    return isPlainFlate(run, stream->dict) && inflateContent(run, stream, content);
}

namespace {

/* A definition by itself: what it holds is left to others, and no page is in it. */
struct PartSink : PageSink {
    bool beginPage(ConversionRun *, const PageAttributes &) override { return false; }
    void resources(ConversionRun *, const PdfDict *) override {}
    void contents(ConversionRun *, const PdfStream *) override {}
    void endPage(ConversionRun *, const PageAttributes &, bool) override {}
    const char *contentReader() override { return "ReadContent"; }
};

/* Content is kept as a form without a box; its data stands in front, as that of a form does. */
void writeSharedContent(ConversionRun *run, const char *name)
{
    StreamPtr stream = readStream(run);
    if (!stream)
        return;
    std::string content;
    bool isUndone = undoneContent(run, stream.get(), &content);
    size_t length = isUndone ? content.size() : (size_t)std::max(stream->length, 0);
    fputstr_arg(run->output, "%zu /C%s ReadContent", length, name + 1);
    if (isUndone) {
        fputm(run->output, content.data(), content.size());
        fputstr(run->output, "");
    } else {
        copyStreamData(run, stream->dataPosition, stream->length);
    }
    fputstr_arg(run->output, "%s << /ExternName (C%s)", name, name + 1);
    if (!isUndone)
        writeDictEntries(run, stream->dict, {"/Filter", "/DecodeParms"});
    fputstr(run->output, ">> CallForm");
}

void writeDefinition(ConversionRun *run, const PlannedResource &resource, const char *name)
{
    fputp(run->input, resource.position);
    if (resource.role == ROLE_CONTENT)
        writeSharedContent(run, name);
    else
        resourceKinds[resource.role].define(run, name);
}

/* ---- equal ones */

/* 128 bits of what was written, eight bytes at a time. */
struct Digest {
    uint64_t one = 0x9E3779B97F4A7C15u, two = 0xC2B2AE3D27D4EB4Fu, count = 0;
    uint8_t rest[8] = {}; /* bytes that do not make eight yet */

    void add(uint64_t word)
    {
        one = (one ^ word) * 0xFF51AFD7ED558CCDu;
        one ^= one >> 32;
        two = (two + word) * 0xD6E8FEB86659FD93u;
        two ^= two >> 29;
    }
    auto operator<=>(const Digest &) const = default;
};

int digest(void *context, const uint8_t *bytes, size_t count)
{
    Digest &sum = *static_cast<Digest *>(context);
    uint64_t word;
    for (; count > 0 && sum.count % 8 != 0; count--, sum.count++) {
        sum.rest[sum.count % 8] = *bytes++;
        if (sum.count % 8 == 7) {
            memcpy(&word, sum.rest, 8);
            sum.add(word);
            memset(sum.rest, 0, 8);
        }
    }
    for (; count >= 8; count -= 8, bytes += 8, sum.count += 8) {
        memcpy(&word, bytes, 8);
        sum.add(word);
    }
    for (; count > 0; count--, sum.count++)
        sum.rest[sum.count % 8] = *bytes++;
    return 0;
}

/* What may be equal: the same role, size and inner resources. */
using Likeness = std::tuple<uint8_t, uint64_t, ValuePosition>;

Likeness likenessOf(const PlannedResource &resource)
{
    return {resource.role, resource.bytes, resource.nested};
}

} // namespace

void definePart(ConversionRun *run, const PlannedResource &resource, const char *name,
                ZFileSink sink)
{
    ZFile *output = fopensink(sink);
    if (!output)
        throw std::bad_alloc();
    {
        PartSink alone;
        SinkRedirect without(run, &alone);
        OutputRedirect redirect(run, output);
        run->written.resourceEntries = 0;
        writeDefinition(run, resource, name);
    }
    fclosx(output);
}

void mergeEqual(ConversionRun *run, Plan *plan)
{
    std::map<Likeness, std::vector<uint32_t>> groups;
    for (uint32_t i = 0; i < plan->resources.size(); i++)
        groups[likenessOf(plan->resources[i])].push_back(i);
    std::vector<uint32_t> same(plan->resources.size());
    for (uint32_t i = 0; i < same.size(); i++)
        same[i] = i;
    for (const auto &[likeness, members] : groups) {
        if (members.size() < 2)
            continue;
        std::map<Digest, uint32_t> first;
        for (uint32_t member : members) {
            Digest sum;
            definePart(run, plan->resources[member], "/S", {digest, &sum});
            if (run->errorFlag) {
                recover(run); /* it is written where it stands, and told there */
                continue;
            }
            same[member] = first.try_emplace(sum, member).first->second;
            if (same[member] != member)
                plan->resources[same[member]].uses += plan->resources[member].uses;
        }
    }
    for (auto &[key, index] : plan->index)
        index = same[index];
    for (uint32_t i = 0; i < same.size(); i++)
        if (same[i] != i)
            plan->resources[i].uses = 0;
}

} // namespace job
