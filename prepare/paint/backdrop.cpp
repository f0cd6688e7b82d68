/*
 * backdrop.cpp - lists of marks, searched from the last one back
 */
#include "prepare/paint/backdrop.h"

#include <algorithm>
#include <cmath>

namespace prepare {

namespace {

/* Boxes that only touch, or overlap by less than anybody sees, do not meet. */
Box core(const Box &box)
{
    constexpr double MOST = 0.2, SHARE = 0.1;
    double x = std::min(MOST, SHARE * (box.right - box.left));
    double y = std::min(MOST, SHARE * (box.top - box.bottom));
    return {box.left + x, box.bottom + y, box.right - x, box.top - y};
}

bool meets(const Box &a, const Box &b)
{
    return !isEmpty(intersection(a, b));
}

bool isSame(const Layer &a, const Layer &b)
{
    constexpr double CLOSE = 1e-3;
    return std::abs(a.alpha - b.alpha) < CLOSE && isSame(a.colour, b.colour);
}

/* White on paper that has nothing on it, or nothing at all. */
bool isPaper(const Layer &layer)
{
    return layer.alpha <= 0 || (layer.alpha >= 1 && isWhite(layer.colour));
}

/* `isOnPaper`: where nothing is, white paper is seen, and no more than that matters. */
Backdrop backdropOf(const std::vector<Mark> &marks, const Box &box, bool isOnPaper)
{
    Box wanted = core(box);
    const Mark *partial = nullptr; /* what covers some of the box, all of one colour */
    auto finish = [&](const Layer &base) {
        if (!partial || isSame(partial->layer, base))
            return Backdrop{true, base};
        return Backdrop{isOnPaper && isPaper(partial->layer) && isPaper(base), base};
    };
    for (size_t i = marks.size(); i-- > 0;) {
        const Mark &mark = marks[i];
        if (!meets(mark.box, wanted))
            continue;
        if (!mark.isKnown)
            return {false, {}};
        if (mark.covers && contains(mark.box, wanted))
            return finish(mark.layer);
        if (partial && !isSame(partial->layer, mark.layer))
            return {false, {}};
        partial = &mark;
    }
    return finish({});
}

/* Would one mark around both say about as much? */
bool joins(const Mark &a, const Mark &b)
{
    constexpr double WASTE = 1.25;
    if (a.isKnown != b.isKnown || (a.isKnown && !isSame(a.layer, b.layer)) || a.covers || b.covers)
        return false;
    double sum = areaOf(a.box) + areaOf(b.box) - areaOf(intersection(a.box, b.box));
    return areaOf(unionOf(a.box, b.box)) <= sum * WASTE;
}

void join(Mark *a, const Mark &b)
{
    if (b.isKnown && a->covers && contains(a->box, b.box) && isSame(a->layer, b.layer))
        return;
    a->isKnown &= b.isKnown && isSame(a->layer, b.layer);
    a->box = unionOf(a->box, b.box);
    a->covers = false;
}

void halve(std::vector<Mark> *marks)
{
    size_t kept = 0;
    for (size_t i = 0; i < marks->size(); i += 2) {
        Mark mark = (*marks)[i];
        if (i + 1 < marks->size())
            join(&mark, (*marks)[i + 1]);
        (*marks)[kept++] = mark;
    }
    marks->resize(kept);
}

void append(std::vector<Mark> *marks, const Mark &mark)
{
    if (isEmpty(mark.box) || (mark.isKnown && mark.layer.alpha <= 0))
        return;
    if (mark.covers && mark.isKnown) /* what it hides needs not be known */
        while (!marks->empty() && contains(mark.box, marks->back().box))
            marks->pop_back();
    if (!marks->empty() && joins(marks->back(), mark))
        return join(&marks->back(), mark);
    marks->push_back(mark);
    if (marks->size() >= MAX_MARKS)
        halve(marks);
}

bool isOnPaper(const Scene &scene, size_t level, Blend blend)
{
    return level == 0 && scene.isPaper && blend <= Blend::MULTIPLY;
}

/* What a mode in a group that is not isolated blends with: what is below the group. */
Layer behindGroup(const Scene &scene, size_t level, const Box &box, Blend blend, bool *isKnown)
{
    Layer behind;
    while (level > 0 && !scene.groups[level].isIsolated) {
        Backdrop backdrop =
            backdropOf(scene.groups[level - 1].marks, box, isOnPaper(scene, level - 1, blend));
        level--;
        *isKnown &= backdrop.isKnown;
        behind = composite(backdrop.layer, behind, Blend::NORMAL);
    }
    return behind;
}

/* What is below in one group; `isPartial` says whether it shows, and then whether it goes on. */
Step stepOf(const Scene &scene, size_t level, const Box &box, const Step &how, bool *isPartial,
            bool *isKnown)
{
    const Group &group = scene.groups[level];
    Step step = how;
    *isPartial |= step.alpha < 1 || step.blend != Blend::NORMAL;
    if (!*isPartial)
        return step;
    if (!group.isKnockout) {
        Backdrop backdrop = backdropOf(group.marks, box, isOnPaper(scene, level, step.blend));
        *isKnown &= backdrop.isKnown;
        step.below = backdrop.isKnown ? backdrop.layer : Layer();
    }
    if (step.blend != Blend::NORMAL && step.below.alpha < 1)
        step.behind = behindGroup(scene, level, box, step.blend, isKnown);
    *isPartial = step.below.alpha < 1;
    return step;
}

Layer throughStep(const Step &step, Layer layer)
{
    layer.alpha *= step.alpha;
    if (step.blend != Blend::NORMAL && step.behind.alpha > 0 && step.below.alpha <= 0) {
        DeviceColour blended = blend(step.blend, step.behind.colour, layer.colour);
        layer.colour = mix(layer.colour, blended, step.behind.alpha);
    }
    return composite(step.below, layer, step.blend);
}

} // namespace

Chain chainOf(const Scene &scene, const Box &box, const std::vector<double> &alphas, Blend blend,
              bool isPartial)
{
    Chain chain;
    size_t step = 0;
    for (size_t level = scene.groups.size(); level-- > 0; step++) {
        Step how = {{}, {}, step < alphas.size() ? alphas[step] : 1, blend};
        chain.steps.push_back(stepOf(scene, level, box, how, &isPartial, &chain.isKnown));
        blend = scene.groups[level].blend;
    }
    return chain;
}

Layer inGroup(const Chain &chain, const Layer &layer)
{
    return throughStep(chain.steps.front(), layer);
}

DeviceColour onPaper(const Chain &chain, const Layer &layer)
{
    Layer result = layer;
    for (const Step &step : chain.steps)
        result = throughStep(step, result);
    return onWhite(result);
}

bool isPlain(const Chain &chain)
{
    return std::all_of(chain.steps.begin(), chain.steps.end(), [](const Step &step) {
        bool hasNothing = step.below.alpha <= 0 && step.behind.alpha <= 0;
        bool isOnWhite = step.below.alpha >= 1 && isWhite(step.below.colour);
        bool isNeutral =
            step.blend == Blend::NORMAL || hasNothing ||
            (isOnWhite && (step.blend == Blend::MULTIPLY || step.blend == Blend::DARKEN));
        return step.alpha >= 1 && isNeutral;
    });
}

bool isPlainAnywhere(const Chain &chain)
{
    return std::ranges::all_of(chain.steps, [](const Step &step) {
        return step.alpha >= 1 && step.blend == Blend::NORMAL;
    });
}

bool isPlain(const Scene &scene)
{
    return std::all_of(scene.groups.begin(), scene.groups.end(), [](const Group &group) {
        return group.alpha >= 1 && group.blend == Blend::NORMAL && !group.softMask.isInitialized();
    });
}

void addMark(Scene *scene, const Mark &mark)
{
    append(&scene->groups.back().marks, mark);
}

void endGroup(Scene *scene)
{
    if (scene->groups.size() < 2)
        return;
    Group group = std::move(scene->groups.back());
    scene->groups.pop_back();
    std::vector<Mark> &outer = scene->groups.back().marks;
    bool isPaperBelow = isOnPaper(*scene, scene->groups.size() - 1, group.blend);
    bool isHidden = scene->groups.back().isKnockout;
    for (Mark &mark : group.marks) { /* all of them before the list is added to */
        bool isOpaque = mark.layer.alpha >= 1 && group.alpha >= 1 && group.blend == Blend::NORMAL;
        mark.isKnown &= !group.softMask.isInitialized();
        if (!mark.isKnown || isOpaque)
            continue;
        Backdrop backdrop = isHidden ? Backdrop() : backdropOf(outer, mark.box, isPaperBelow);
        Layer layer = {mark.layer.colour, mark.layer.alpha * group.alpha};
        mark.isKnown = backdrop.isKnown;
        mark.layer = composite(backdrop.layer, layer, group.blend);
    }
    for (const Mark &mark : group.marks)
        append(&outer, mark);
}

} // namespace prepare
