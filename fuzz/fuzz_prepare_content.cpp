/*
 * fuzz_prepare_content.cpp - the reader of page content, and the state behind its operators
 *
 * Whatever the bytes: the sources of all operations together are the content, and what is canonical
 * stays as it is.
 */
#include <cstdint>
#include <cstdlib>

#include "prepare/canonical/content.h"
#include "prepare/content/track.h"
#include "prepare/model/tokens.h"

using namespace prepare;

static void checkCanonical(const std::string &content, bool isGlyph)
{
    auto namer = [](const std::string &name) { return "/Pn" + std::to_string(name.size()); };
    PlainContent once = plainContent(content, isGlyph, namer);
    const std::string &text = once.isChanged ? once.text : content;
    if (plainContent(text, isGlyph, namer).isChanged)
        abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string content(data, data + size), sources;
    ResourceScope scope{QPDFObjectHandle::newDictionary(), nullptr};
    ContentState state;
    state.scope = &scope;
    ContentReader reader{content};
    Operation operation;
    while (readOperation(&reader, &operation)) {
        sources += operation.source;
        track(&state, operation);
        for (const Token &token : operation.operands)
            if (token.kind == TokenKind::STRING || token.kind == TokenKind::HEX_STRING) {
                std::string value = stringValue(token), written = literalString(value);
                if (stringValue({TokenKind::STRING, written}) != value)
                    abort();
            } else if (token.kind == TokenKind::NAME) {
                std::string name = nameValue(token.source);
                if (nameValue(nameText(name)) != name)
                    abort();
            }
    }
    if (sources + std::string(operation.source) != content)
        abort();
    checkCanonical(content, false);
    checkCanonical(content, true);
    return 0;
}
