/*
 * verify.cpp - sections: resources, where the page lies, contents; and who may encode them
 */
#include "job/verify.h"

#include <algorithm>

#include "job/runtime.h"
#include "job/sectionreader.h"

namespace job {

/* ---- resources */

/* Content that is counted; the state says what it leaves open. */
bool SectionReader::content(int64_t count, ContentState *reached)
{
    if (!literal("\n"))
        return false;
    uint64_t end = in.position() + (uint64_t)count, outer = in.limit((uint64_t)count);
    if (const char *wrong = readContent(in, reached))
        return refuse(wrong);
    bool isAll = in.position() == end;
    in.unlimit(outer);
    reached->counted->own[DECODED_BYTES] += (uint64_t)count;
    return (isAll || refuse("data is shorter than its count")) && limitPath(*reached) &&
           literal("\n");
}

bool SectionReader::limitPath(const ContentState &content)
{
    constexpr uint64_t LONGEST_PATH = 1'000'000;
    if (content.longestPath > LONGEST_PATH * account.workFactor())
        surplus = std::to_string(LONGEST_PATH * account.workFactor()) + " pieces of one path";
    return surplus.empty();
}

/* What stands in front of an image or a form. */
bool SectionReader::data(int64_t count, std::string dataName)
{
    pending = {};
    pending.name = std::move(dataName);
    pending.isThere = true;
    if (in.next().is("ReadContent")) {
        ContentState whole(&pending.content);
        pending.isContent = whole.mayBeginSaved = true;
        if (!content(count, &whole))
            return false;
        if (whole.isInText)
            return refuse(whole.finish());
        bool isClosed = pending.content.lowest == 0 && pending.content.net == 0;
        pending.unclosed = isClosed ? nullptr : "q and Q do not stand in pairs";
        return true;
    }
    if (!in.last().is("ReadCount"))
        return refuse("a word stands where another one is due");
    return literal("\n") &&
           (in.skip((uint64_t)count) || refuse("data is shorter than its count")) && literal("\n");
}

bool SectionReader::defineXObject(const std::string &key)
{
    Entries entries;
    bool isContent = pending.isContent;
    pending.isThere = false;
    std::span<const Key> keys = imageKeys;
    if (isContent)
        keys = formKeys;
    if (!dictionary(keys, &entries))
        return false;
    bool isOfContents = isContent && !isPage && pending.name == "C" + key;
    if (entries.name != pending.name || (pending.name != "d" + key && !isOfContents))
        return refuse("data belongs to another name");
    if (isOfContents) {
        account.defineContents(std::move(pending.content));
        return word("CallForm");
    }
    return isContent ? defineForm(key, entries) : defineImage(key, entries);
}

bool SectionReader::defineForm(const std::string &key, const Entries &)
{
    if (pending.unclosed)
        return refuse(pending.unclosed);
    account.defineForm(key, std::move(pending.content));
    return word("CallForm");
}

bool SectionReader::defineImage(const std::string &key, const Entries &entries)
{
    int64_t bits = entries.has(IMAGE_BITS) ? entries.numbers[IMAGE_BITS] : 8;
    bool isMask = entries.numbers[IMAGE_MASK];
    if (!entries.has(IMAGE_WIDTH) || !entries.has(IMAGE_HEIGHT))
        return refuse("a picture has no size");
    if ((bits & (bits - 1)) != 0 || (isMask && entries.has(IMAGE_BITS) && bits != 1))
        return refuse("a picture has another number of bits");
    if (in.next().is("CallForm"))
        return refuse("the content of a form comes as data");
    in.again();
    uint64_t width = (uint64_t)entries.numbers[IMAGE_WIDTH];
    uint64_t height = (uint64_t)entries.numbers[IMAGE_HEIGHT];
    uint64_t rowBits = width * (isMask ? 1 : (uint64_t)bits * entries.components);
    account.defineImage(key, width * height, height * ((rowBits + 7) / 8));
    return word("CallImage");
}

bool SectionReader::stateOrFont(const std::string &key)
{
    if (pending.isThere)
        return defineXObject(key);
    if (in.next().is("/FontType"))
        return type3(key);
    in.again();
    Entries entries;
    if (!dictionary(stateKeys, &entries) || !words("/ExtGState defineRes pop"))
        return false;
    uint64_t cost = 0;
    for (const StateCost &dear : stateCosts)
        cost += entries.has(dear.key) && entries.numbers[dear.key] ? dear.operators : 0;
    account.defineState(key, cost);
    return true;
}

/* A resource whose name has been read. */
bool SectionReader::named()
{
    std::string key(in.last().name());
    if (in.follows(" \n%!PS-Adobe-3.0 Resource-Font\n"))
        return convertedFont();
    if (key.size() > LONGEST_RESOURCE_NAME)
        return refuse("a name is too long");
    const Token &token = in.next();
    switch (token.kind) {
    case TokenKind::OPEN_DICT:
        return stateOrFont(key);
    case TokenKind::INTEGER: {
        double part = valueOf(token);
        return (account.useShared(key, (uint64_t)std::clamp(part, 0.0, 1e9)) ||
                refuse("a shared part is content")) &&
               word("UseShared");
    }
    case TokenKind::OPEN_ARRAY:
    case TokenKind::NAME:
        in.again();
        return defineSpace();
    default:
        in.again();
        return function() && words("/Function defineRes pop");
    }
}

bool SectionReader::fontOrContents()
{
    Entries entries;
    if (phase == CONTENTS)
        return dictionary(plainStreamKeys, &entries) && word("PageContents") &&
               content(entries.numbers[0], &state);
    if (phase != RESOURCES)
        return refuse("a resource stands behind them all");
    if (!dictionary(fontKeys, &entries) || !word("AdjFont"))
        return false;
    account.defineFont(entries.name, {});
    return true;
}

bool SectionReader::useContents(double number)
{
    const Content *contents;
    if (!account.useContents((uint64_t)std::clamp(number, 0.0, 1e9), &contents))
        return refuse("a shared part is no content");
    const char *wrong = contents ? state.follow(*contents) : nullptr;
    return !wrong || refuse(wrong);
}

/* Numbers, and the word behind them. */
bool SectionReader::placement(size_t operands, const double *values)
{
    const Token &token = in.last();
    auto step = [&](std::string_view text, size_t count, auto to) {
        bool isNext = token.is(text) && operands == count && isPage && phase < to &&
                      (to < MOVED || phase + 1 == to);
        if (isNext)
            phase = to;
        return isNext;
    };
    if (step("Place", 6, PLACED) || step("PageClip", 4, CLIPPED) || step("translate", 2, MOVED) ||
        step("rotate", 1, CONTENTS))
        return true;
    if (token.is("UseContents") && operands == 1 && values[0] >= 0 && phase == CONTENTS)
        return useContents(values[0]);
    return refuse("a word stands where another one is due");
}

bool SectionReader::counted()
{
    double values[6];
    size_t count = 0;
    bool isWhole = in.last().kind == TokenKind::INTEGER;
    for (in.again(); in.next().isNumber(); count++) {
        if (count == 6 || !isInRange(in.last()))
            return refuse("a number is out of place");
        values[count] = valueOf(in.last());
    }
    if (in.last().kind != TokenKind::NAME)
        return placement(count, values);
    std::string dataName(in.last().name());
    bool isCount = isWhole && count == 1 && values[0] >= 0 && values[0] <= MOST_INTEGER;
    if (!isCount || phase != RESOURCES || dataName.size() > LONGEST_RESOURCE_NAME + 1)
        return refuse("a count is out of place");
    return data((int64_t)values[0], dataName);
}

bool SectionReader::resource(const Token &first)
{
    if (first.isNumber())
        return counted();
    if (first.kind == TokenKind::OPEN_DICT)
        return fontOrContents();
    if (phase != RESOURCES)
        return refuse("a resource stands behind content");
    if (first.kind == TokenKind::NAME)
        return named();
    if (first.kind == TokenKind::STRING)
        return compactFont();
    if (first.is("OpenResources") && isPage) {
        account.openScope();
        return true;
    }
    if (first.is("CloseResources") && isPage)
        return account.closeScope() || refuse("a group of resources ends that has not begun");
    return refuse("a word stands where another one is due");
}

/* ---- sections */

bool SectionReader::readPage()
{
    account.begin();
    isPage = true;
    while (in.next().kind != TokenKind::END)
        if (!resource(in.last()))
            return refuse("it is not known why");
    if (const char *wrong = state.finish())
        return refuse(wrong);
    account.addContents(page);
    if (const CostLimit *limit = account.exceeded())
        surplus = std::to_string(limit->most * account.workFactor()) + " " + limit->what;
    return surplus.empty();
}

bool SectionReader::readPart()
{
    account.begin();
    while (in.next().kind != TokenKind::END)
        if (!resource(in.last()))
            return refuse("it is not known why");
    return true;
}

bool SectionReader::readShared()
{
    while (in.next().kind != TokenKind::END) {
        int64_t number, length;
        in.again();
        if (!whole(&number, 0, MOST_INTEGER) || !whole(&length, 0, MOST_INTEGER) || !literal("\n"))
            return false;
        uint64_t end = in.position() + (uint64_t)length, outer = in.limit((uint64_t)length);
        if (!readPart())
            return false;
        if (in.position() != end)
            return refuse("data is shorter than its count");
        in.unlimit(outer);
        account.keepPart((uint64_t)number);
    }
    return true;
}

namespace {

Verdict verdictOn(Scanner in, SectionKind kind, Account *account)
{
    SectionReader reader(&in, account);
    bool isGood = kind == SectionKind::PAGE     ? reader.readPage()
                  : kind == SectionKind::SHARED ? reader.readShared()
                                                : reader.readPart();
    Verdict verdict = {std::move(reader.cause), std::move(reader.surplus), in.position()};
    if (!verdict.surplus.empty())
        verdict.cause.clear();
    else if (!isGood && verdict.cause.empty())
        verdict.cause = "it is not known why";
    return verdict;
}

} // namespace

Verdict verify(Bytes text, SectionKind kind, Account *account)
{
    return verdictOn(Scanner(text), kind, account);
}

Verdict verify(Spool *text, SectionKind kind, Account *account)
{
    if (text->isFull())
        return {"", std::to_string(text->limit()) + " bytes", 0};
    if (text->isInMemory())
        return verify(text->inMemory(), kind, account);
    text->rewind();
    return verify([&](uint8_t *to, size_t room) { return text->read(to, room); }, kind, account);
}

Verdict verify(const ReadBytes &read, SectionKind kind, Account *account)
{
    return verdictOn(Scanner(read), kind, account);
}

std::optional<AcceptedText> accept(Spool *text, SectionKind kind, Account *account,
                                   Verdict *verdict)
{
    *verdict = verify(text, kind, account);
    if (!verdict->isAccepted() || text->failure() != 0)
        return std::nullopt;
    return AcceptedText(text);
}

AcceptedText AcceptedText::ofRuntime(const std::set<std::string> &names, Spool *spool)
{
    std::string runtime = runtimeFor(names);
    spool->write({(const uint8_t *)runtime.data(), runtime.size()});
    return AcceptedText(spool);
}

} // namespace job
