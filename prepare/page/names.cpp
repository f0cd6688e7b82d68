/*
 * names.cpp - plain names for resources
 */
#include "prepare/page/names.h"

#include "prepare/model/plain.h"

namespace prepare {

namespace {

/* Names of resources by the odd ones that they stand for. */
struct PlainNames {
    std::map<std::string, std::string> byOddOnes;
};

/* Where an operator names a resource: what kind, and how many operands stand behind the name. */
struct Naming {
    std::string_view op;
    int category;
    size_t behind;
};

constexpr Naming namings[] = {
    {"Do", XOBJECT, 0},    {"gs", EXTGSTATE, 0},  {"Tf", FONT, 1},
    {"cs", COLORSPACE, 0}, {"CS", COLORSPACE, 0},
};

/* The odd name stands for nothing any more; what goes by it in other content keeps it there. */
void forgetUse(Rewriter *rewriter, int category, const std::string &name)
{
    QPDFObjectHandle resources = rewriter->scope.resources;
    if (rewriter->depth == 0)
        rewriter->page->usage.names[category].erase(name);
    else if (resources.isIndirect())
        usagesOfForms(rewriter->document)[resources.getObjGen()].names[category].erase(name);
}

struct NameHandler : Handler {
    bool visit(Rewriter *rewriter, const Operation &operation) override
    {
        for (const Naming &naming : namings)
            if (operation.name == naming.op)
                return rename(rewriter, operation, naming);
        return false;
    }

    static bool rename(Rewriter *rewriter, const Operation &operation, const Naming &naming)
    {
        if (operation.operands.size() <= naming.behind)
            return false;
        size_t at = operation.operands.size() - 1 - naming.behind;
        if (operation.operands[at].kind != TokenKind::NAME)
            return false;
        std::string name = nameValue(operation.operands[at].source);
        if (!isOddName(name))
            return false;
        QPDFObjectHandle resource = findResource(rewriter->scope, naming.category, name);
        if (resource.isNull())
            return false;
        std::string plain = plainName(rewriter->document, name);
        putResource(rewriter, naming.category, plain, resource);
        forgetUse(rewriter, naming.category, name);
        std::string written;
        for (size_t i = at; i < operation.operands.size(); i++)
            written += (i == at ? plain : std::string(operation.operands[i].source)) + " ";
        emit(rewriter, written + std::string(operation.name));
        return true;
    }
};

} // namespace

bool isOddName(const std::string &name)
{
    return name.empty() || !isPlain(std::string_view(name).substr(1), MAX_RESOURCE_NAME);
}

std::string plainName(Document *document, const std::string &name)
{
    std::string &plain = document->memos.of<PlainNames>().byOddOnes[name];
    if (plain.empty())
        plain = newName(document, "/Pn");
    return plain;
}

const ContentPass namePass = {"names", NEED_NAMES,
                              [] { return std::unique_ptr<Handler>(new NameHandler); }};

namespace {

void watchName(Walk *walk, int category, const std::string &name, QPDFObjectHandle found)
{
    if (walk->document->options.isCanonical) /* the content is looked at again, and renamed then */
        return;
    bool isWritten = category != PATTERN && category != SHADING && category != PROPERTIES;
    if (isWritten && !found.isNull() && isOddName(name))
        addNeed(walk, NEED_NAMES);
}

} // namespace

const Observer nameObserver = {.name = "names", .resource = watchName};

} // namespace prepare
