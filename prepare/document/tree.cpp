/*
 * tree.cpp - the page tree, from the root down
 *
 * A node is passed over when it is its own ancestor; met again elsewhere it is walked again, since
 * its pages are listed again.  What it hands down is what stands on the way to it, not what
 * /Parent says.
 */
#include "prepare/document/tree.h"

#include <algorithm>
#include <array>
#include <set>

namespace prepare {

namespace {

constexpr int MAX_DEPTH = 256;
constexpr size_t MAX_PAGES = 1000000;
constexpr int MAX_REPEATS = 10000;

constexpr std::array<const char *, 4> INHERITED = {"/Resources", "/MediaBox", "/CropBox",
                                                   "/Rotate"};
using Attributes = std::array<QPDFObjectHandle, INHERITED.size()>;

/* A page that has been met. */
struct MetPage {
    unsigned own = 0; /* bits of the attributes that it has by itself */
};

struct TreeWalk {
    Document *document;
    PageTree *tree;
    std::set<QPDFObjGen> ancestors = {};
    std::set<QPDFObjGen> nodes = {};
    std::map<QPDFObjGen, MetPage> pages = {};
    int repeats = 0; /* kids of nodes that are walked again */
};

/* The page gets what it lacks; after that its line of parents, which may be another, has nothing to
 * say.  All this is in memory: it does not make a document one that has to be written. */
void inherit(QPDFObjectHandle page, unsigned own, const Attributes &attributes)
{
    for (size_t i = 0; i < INHERITED.size(); i++)
        if (!(own & 1u << i))
            page.replaceKey(INHERITED[i], attributes[i]); /* null removes it */
    page.removeKey("/Parent");
}

void addPage(TreeWalk *walk, QPDFObjectHandle page, const Attributes &attributes)
{
    auto [met, isNew] = walk->pages.try_emplace(page.getObjGen());
    if (isNew || !page.isIndirect()) {
        met->second.own = 0;
        for (size_t i = 0; i < INHERITED.size(); i++)
            if (!page.getKey(INHERITED[i]).isNull())
                met->second.own |= 1u << i;
    } else { /* listed again: a page of its own, which may inherit other things */
        page = walk->document->source.pdf.makeIndirectObject(page.shallowCopy());
    }
    inherit(page, met->second.own, attributes);
    walk->tree->pages.push_back(page);
}

void lose(TreeWalk *walk)
{
    walk->tree->hasLosses = walk->tree->isIrregular = true;
}

void visit(TreeWalk *walk, QPDFObjectHandle node, Attributes attributes, int depth);

/* Each kid in turn.  `attributes` are those of the node. */
void visitKids(TreeWalk *walk, QPDFObjectHandle node, const Attributes &attributes, int depth)
{
    QPDFObjectHandle kids = node.getKey("/Kids");
    int count = kids.isArray() ? kids.getArrayNItems() : 0;
    bool isRepeated = node.isIndirect() && !walk->nodes.insert(node.getObjGen()).second;
    if (!kids.isArray())
        lose(walk);
    for (int i = 0; i < count; i++) {
        walk->repeats += isRepeated;
        if (walk->repeats > MAX_REPEATS || walk->tree->pages.size() >= MAX_PAGES)
            return lose(walk);
        visit(walk, kids.getArrayItem(i), attributes, depth);
    }
}

void visit(TreeWalk *walk, QPDFObjectHandle node, Attributes attributes, int depth)
{
    if (!node.isDictionary() || depth > MAX_DEPTH)
        return lose(walk);
    std::string type = nameOr(node.getKey("/Type"));
    bool isNode = node.hasKey("/Kids");
    if (isNode == (type == "/Page")) /* the converter goes by the kids alone, others by the type */
        walk->tree->isIrregular |= !type.empty();
    if (!isNode && type == "/Pages")
        return lose(walk);
    if (!isNode)
        return addPage(walk, node, attributes);
    if (node.isIndirect() && !walk->ancestors.insert(node.getObjGen()).second)
        return lose(walk);
    for (size_t i = 0; i < INHERITED.size(); i++)
        if (QPDFObjectHandle value = node.getKey(INHERITED[i]); !value.isNull())
            attributes[i] = value;
    visitKids(walk, node, attributes, depth + 1);
    walk->ancestors.erase(node.getObjGen());
}

} // namespace

PageTree walkPageTree(Document *document)
{
    PageTree tree;
    QPDFObjectHandle root = document->source.pdf.getRoot().getKeyIfDict("/Pages");
    TreeWalk walk = {document, &tree};
    Attributes none;
    none.fill(QPDFObjectHandle::newNull());
    if (root.isDictionary())
        visit(&walk, root, none, 1);
    return tree;
}

} // namespace prepare
