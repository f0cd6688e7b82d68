/*
 * layers.cpp - groups, memberships, and content between BDC and EMC that is off
 *
 * A group is on or off by the default settings alone: nobody clicks on paper.  Where the settings
 * ask for the state in print, the group's own usage for print holds.  What is damaged or nested
 * beyond sense is visible.
 */
#include "prepare/page/layers.h"

#include <algorithm>

namespace prepare {

namespace {

struct Layers {
    bool areThere = false; /* without them everything is visible */
    bool isOnBase = true;
    std::map<QPDFObjGen, bool> states;    /* those that differ from the base */
    std::map<QPDFObjGen, bool> memberOff; /* memberships seen */
};

constexpr int MAX_EXPRESSION_DEPTH = 32;
constexpr int MAX_EXPRESSION_STEPS = 10000;

std::vector<QPDFObjectHandle> itemsOf(QPDFObjectHandle object)
{
    return object.isArray() ? object.getArrayAsVector() : std::vector<QPDFObjectHandle>();
}

bool isNamed(QPDFObjectHandle object, const char *name)
{
    return object.isName() && object.getName() == name;
}

void setStates(Layers *layers, QPDFObjectHandle groups, bool isOn)
{
    for (QPDFObjectHandle group : itemsOf(groups))
        if (group.isIndirect())
            layers->states[group.getObjGen()] = isOn;
}

/* Is the group for viewing at all?  One that is only for design never hides anything. */
bool isForViewing(QPDFObjectHandle group)
{
    QPDFObjectHandle intent = group.getKey("/Intent");
    std::vector<QPDFObjectHandle> intents = itemsOf(intent);
    if (intent.isName())
        intents.push_back(intent);
    return intents.empty() || std::any_of(intents.begin(), intents.end(), [](auto name) {
               return isNamed(name, "/View") || isNamed(name, "/All");
           });
}

/* One entry of /AS: groups that follow their usage at an event. */
void applyUsage(Layers *layers, QPDFObjectHandle application)
{
    if (!application.isDictionary() || !isNamed(application.getKey("/Event"), "/Print"))
        return;
    std::vector<QPDFObjectHandle> categories = itemsOf(application.getKey("/Category"));
    auto isPrint = [](QPDFObjectHandle name) { return isNamed(name, "/Print"); };
    if (std::none_of(categories.begin(), categories.end(), isPrint))
        return;
    for (QPDFObjectHandle group : itemsOf(application.getKey("/OCGs"))) {
        QPDFObjectHandle state =
            entryOf(entryOf(entryOf(group, "/Usage"), "/Print"), "/PrintState");
        if (group.isIndirect() && (isNamed(state, "/ON") || isNamed(state, "/OFF")))
            layers->states[group.getObjGen()] = isNamed(state, "/ON");
    }
}

bool isGroupOn(const Layers &layers, QPDFObjectHandle group)
{
    if (!isForViewing(group))
        return true;
    auto state = layers.states.find(group.getObjGen());
    return state == layers.states.end() ? layers.isOnBase : state->second;
}

struct Evaluation {
    const Layers *layers;
    int steps = 0;
};

/* The value of a group or of [/And ...], [/Or ...], [/Not x]. */
bool evaluate(Evaluation *evaluation, QPDFObjectHandle expression, int depth)
{
    if (depth > MAX_EXPRESSION_DEPTH || ++evaluation->steps > MAX_EXPRESSION_STEPS)
        throw LimitReached{"An expression of layers is nested too deep."};
    if (expression.isDictionary())
        return isGroupOn(*evaluation->layers, expression);
    std::vector<QPDFObjectHandle> items = itemsOf(expression);
    if (items.empty())
        return true;
    auto isOn = [&](QPDFObjectHandle item) { return evaluate(evaluation, item, depth + 1); };
    if (isNamed(items[0], "/Not"))
        return items.size() < 2 || !isOn(items[1]);
    if (isNamed(items[0], "/And"))
        return std::all_of(items.begin() + 1, items.end(), isOn);
    if (isNamed(items[0], "/Or"))
        return std::any_of(items.begin() + 1, items.end(), isOn);
    return true;
}

/* /OCGs under the policy /P. */
bool followsPolicy(const Layers &layers, QPDFObjectHandle member)
{
    QPDFObjectHandle given = member.getKey("/OCGs");
    std::vector<QPDFObjectHandle> groups = itemsOf(given);
    if (given.isDictionary())
        groups.push_back(given);
    auto isNone = [](QPDFObjectHandle group) { return !group.isDictionary(); };
    groups.erase(std::remove_if(groups.begin(), groups.end(), isNone), groups.end());
    if (groups.empty())
        return true;
    auto isOn = [&](QPDFObjectHandle group) { return isGroupOn(layers, group); };
    std::string policy = nameOr(member.getKey("/P"));
    if (policy == "/AllOn")
        return std::all_of(groups.begin(), groups.end(), isOn);
    if (policy == "/AnyOff")
        return !std::all_of(groups.begin(), groups.end(), isOn);
    if (policy == "/AllOff")
        return std::none_of(groups.begin(), groups.end(), isOn);
    return std::any_of(groups.begin(), groups.end(), isOn);
}

bool isMemberOn(const Layers &layers, QPDFObjectHandle member)
{
    QPDFObjectHandle expression = member.getKey("/VE");
    if (itemsOf(expression).empty())
        return followsPolicy(layers, member);
    Evaluation evaluation{&layers};
    try {
        return evaluate(&evaluation, expression, 0);
    } catch (const LimitReached &) {
        return true;
    }
}

/* An advance that is text space of its own: what a TJ takes as its number. */
double hiddenAdvance(const TextState &text, const Operation &operation)
{
    QPDFObjectHandle font = text.font, widths = font.getKey("/Widths");
    int first = integerOr(font.getKey("/FirstChar"), 0);
    QPDFObjectHandle matrix = font.getKey("/FontMatrix");
    double unit = matrix.isArray() && matrix.getArrayNItems() > 0
                      ? numberOr(matrix.getArrayItem(0), 0.001)
                      : 0.001;
    double advance = 0; /* scaled by 1000 / size */
    for (const Token &token : operation.operands) {
        if (token.kind == TokenKind::NUMBER && operation.op->id == Op::SHOW_ADJUSTED)
            advance -= numberValue(token);
        if (token.kind != TokenKind::STRING && token.kind != TokenKind::HEX_STRING)
            continue;
        for (char c : stringValue(token)) {
            int at = (int)(uint8_t)c - first;
            bool isKnown = widths.isArray() && at >= 0 && at < widths.getArrayNItems();
            double width = isKnown ? numberOr(widths.getArrayItem(at), 0) * unit : 0;
            double space = text.charSpace + (c == ' ' ? text.wordSpace : 0);
            advance += 1000 * (width + space / text.size);
        }
    }
    return advance;
}

/* What is open between BMC or BDC and EMC in one piece of content. */
struct LayerHandler : Handler {
    bool visit(Rewriter *rewriter, const Operation &operation) override;

  private:
    bool beginsOff(Rewriter *rewriter, const Operation &operation);
    bool silence(Rewriter *rewriter, const Operation &operation);
    void hideText(Rewriter *rewriter, const Operation &operation);

    size_t offDepth = 0; /* marks open from the first one that is off; 0: visible */
    size_t onDepth = 0;  /* marks open before that */
    std::map<std::string, bool> offNames;
};

/* /OC /Name BDC */
bool LayerHandler::beginsOff(Rewriter *rewriter, const Operation &operation)
{
    const std::vector<Token> &operands = operation.operands;
    if (operation.name != "BDC" || operands.size() < 2 ||
        operands[operands.size() - 2].source != "/OC" || operands.back().kind != TokenKind::NAME)
        return false;
    std::string name = nameValue(operands.back().source);
    auto known = offNames.find(name);
    if (known != offNames.end())
        return known->second;
    return offNames[name] =
               isOff(rewriter->document, findResource(rewriter->scope, PROPERTIES, name));
}

/* Shows text without marks; it moves on as it would. */
void LayerHandler::hideText(Rewriter *rewriter, const Operation &operation)
{
    const TextState &text = rewriter->state.now.text;
    bool isType3 = text.font.isInitialized() && QPDFObjectHandle(text.font).isDictionary() &&
                   nameOr(QPDFObjectHandle(text.font).getKey("/Subtype")) == "/Type3";
    if (!isType3) { /* clipping by text goes on */
        bool clips = text.mode >= 4 && text.mode <= 7;
        emit(rewriter, std::string(clips ? "7" : "3") + " Tr " + std::string(operation.source) +
                           "\n" + std::to_string(text.mode) + " Tr");
        return;
    }
    /* Its glyphs are content, and paint in every mode. */
    TextState now = text;
    std::string before;
    if (operation.name == "\"" && operation.operands.size() >= 3) {
        const Token *spaces = &operation.operands[operation.operands.size() - 3];
        before = std::string(spaces[0].source) + " Tw " + std::string(spaces[1].source) + " Tc ";
        now.wordSpace = numberValue(spaces[0]);
        now.charSpace = numberValue(spaces[1]);
    }
    if (operation.name == "'" || operation.name == "\"")
        before += "T* ";
    double advance = text.size != 0 ? hiddenAdvance(now, operation) : 0;
    emit(rewriter, before + "[" + numberText(-advance) + "] TJ");
}

/* Handles what would paint. */
bool LayerHandler::silence(Rewriter *rewriter, const Operation &operation)
{
    if (operation.op->paintsPath()) {
        emit(rewriter, "n");
        return true;
    }
    if (operation.op->is(SHOWS_TEXT)) {
        hideText(rewriter, operation);
        return true;
    }
    return operation.op->is(PAINTS);
}

bool LayerHandler::visit(Rewriter *rewriter, const Operation &operation)
{
    if (operation.op->id == Op::BEGIN_MARK_PROPERTIES || operation.op->id == Op::BEGIN_MARK) {
        bool isHidden = offDepth > 0 || beginsOff(rewriter, operation);
        (isHidden ? offDepth : onDepth)++;
        return false;
    }
    if (operation.op->id == Op::END_MARK) {
        size_t &depth = offDepth > 0 ? offDepth : onDepth;
        depth -= depth > 0;
        return false;
    }
    if (offDepth > 0)
        return silence(rewriter, operation);
    if (operation.op->id != Op::PAINT_OBJECT || operation.operands.empty() ||
        operation.operands.back().kind != TokenKind::NAME)
        return false;
    std::string name = nameValue(operation.operands.back().source);
    return isPaintOff(rewriter->document, findResource(rewriter->scope, XOBJECT, name));
}

} // namespace

void loadLayers(Document *document)
{
    QPDFObjectHandle properties;
    try {
        properties = entryOf(document->source.pdf.getRoot(), "/OCProperties");
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &) {
        return; /* no catalogue */
    }
    if (!properties.isDictionary())
        return;
    Layers *layers = &document->memos.of<Layers>();
    layers->areThere = true;
    QPDFObjectHandle settings = properties.getKey("/D");
    layers->isOnBase = !isNamed(entryOf(settings, "/BaseState"), "/OFF");
    setStates(layers, entryOf(settings, "/ON"), true);
    setStates(layers, entryOf(settings, "/OFF"), false);
    for (QPDFObjectHandle application : itemsOf(entryOf(settings, "/AS")))
        applyUsage(layers, application);
}

bool isOff(Document *document, QPDFObjectHandle group)
{
    Layers *layers = &document->memos.of<Layers>();
    if (!layers->areThere || !group.isInitialized() || !group.isDictionary())
        return false;
    if (!isNamed(group.getKey("/Type"), "/OCMD"))
        return isNamed(group.getKey("/Type"), "/OCG") && !isGroupOn(*layers, group);
    if (!group.isIndirect())
        return !isMemberOn(*layers, group);
    auto known = layers->memberOff.find(group.getObjGen());
    if (known != layers->memberOff.end())
        return known->second;
    return layers->memberOff[group.getObjGen()] = !isMemberOn(*layers, group);
}

bool isPaintOff(Document *document, QPDFObjectHandle object)
{
    return object.isInitialized() && object.isStream() &&
           isOff(document, object.getDict().getKey("/OC"));
}

const ContentPass layerPass = {"layers", NEED_LAYERS,
                               [] { return std::unique_ptr<Handler>(new LayerHandler); }};

namespace {

/* Content that is off needs silencing. */
void watchLayer(Walk *walk, int category, const std::string &, QPDFObjectHandle found)
{
    if ((category == PROPERTIES && isOff(walk->document, found)) ||
        (category == XOBJECT && isPaintOff(walk->document, found)))
        addNeed(walk, NEED_LAYERS);
}

} // namespace

const Observer layerObserver = {.name = "layers", .resource = watchLayer};

} // namespace prepare
