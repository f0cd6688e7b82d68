/*
 * prolog_parts_test.cpp - the prolog's parts: what the head of each one says is true, and nothing
 * in it is a name that nobody has defined
 */
#include <gtest/gtest.h>

#include <map>

#include "tests/postscript/prolog_parts.h"
#include "tests/support/conversion.h"
#include "tests/support/run_program.h"

namespace {

/* What loading the parts shows. */
struct Loaded {
    Words operators;                 /* the names in systemdict that PostScript knows */
    std::vector<std::string> keys;   /* what was added to the prolog's dictionary, in order */
    std::vector<size_t> partsOfKeys; /* and by which part */
};

/* Loads the parts under a `def` that tells what comes into the prolog's dictionary, which is the
 * fourth one. */
Loaded loadParts(const std::vector<PrologPart> &parts)
{
    std::string program = "systemdict { pop (OPERATOR ) print = } forall\n"
                          "/def { countdictstack 4 eq { (DEFINED ) print 1 index = } if\n"
                          "    systemdict /def get exec } systemdict /def get exec\n";
    for (const PrologPart &part : parts)
        program += part.text + "(PART) =\n";
    ProgramOptions options;
    options.input = program;
    ProgramResult result = runProgram({"gs", "-q", "-dSAFER", "-dNODISPLAY", "-"}, options);
    EXPECT_EQ(result.status, 0) << result.out.substr(0, 1000) << result.err;
    Loaded loaded;
    size_t part = 0;
    for (const std::string &line : linesOf(result.out)) {
        if (line == "PART") {
            part++;
        } else if (line.starts_with("DEFINED ")) {
            loaded.keys.push_back(line.substr(8));
            loaded.partsOfKeys.push_back(part);
        } else if (line.starts_with("OPERATOR ") && line[9] != '.') {
            loaded.operators.insert(line.substr(9));
        }
    }
    EXPECT_EQ(part, parts.size());
    return loaded;
}

std::string listed(const std::string &title, const Words &words)
{
    std::string text = "% " + title + ":";
    size_t width = text.size();
    for (const std::string &word : words) {
        if (width + 1 + word.size() > 98) {
            text += "\n%    ";
            width = 5;
        }
        text += " " + word;
        width += 1 + word.size();
    }
    return text;
}

TEST(PrologParts, DefineEachNameOnce)
{
    Words seen;
    Loaded loaded = loadParts(prologParts());
    EXPECT_GT(loaded.keys.size(), 300U);
    for (const std::string &key : loaded.keys)
        EXPECT_TRUE(seen.insert(key).second) << key;
}

/* In the runtime of jobs a part that may be left out replaces what does less. */
TEST(PrologParts, OfJobsDefineAgainWhatAPartCanDoBetter)
{
    Words seen, twice;
    for (const std::string &key : loadParts(jobParts()).keys)
        if (!seen.insert(key).second)
            twice.insert(key);
    for (const char *name : {"BT", "ET", "Tc", "Tw", "Tz", "TL", "Ts", "Tr", "Tf", "Tm", "Td", "TD",
                             "T*", "Tj", "TJ", "'", "\""})
        EXPECT_EQ(twice.erase(name), 1U) << name;
    EXPECT_EQ(twice, (Words{"ArraySpace", "BaseEncoding", "FindFont", "OtherName", "PlainState",
                            "Q", "SetGraphicsState", "UndoStates", "q"}));
}

/* A name is an operator, or it belongs to the part that defines it first.  A variable, which lives
 * in a dictionary of its own, belongs to the first part that sets it. */
void expectTrueHeads(const std::vector<PrologPart> &parts)
{
    Loaded loaded = loadParts(parts);
    std::map<std::string, size_t> owners;
    for (size_t i = 0; i < loaded.keys.size(); i++)
        owners.emplace(loaded.keys[i], loaded.partsOfKeys[i]);
    std::vector<std::vector<PostScriptToken>> tokens;
    std::vector<Words> literals(parts.size());
    for (const PrologPart &part : parts) {
        tokens.push_back(postScriptTokens(part.text));
        for (const PostScriptToken &token : tokens.back())
            if (token.kind == TokenKind::LITERAL)
                literals[tokens.size() - 1].insert(token.name);
    }
    auto ownerOf = [&](const std::string &name, size_t user) {
        if (owners.contains(name))
            return owners[name];
        if (literals[user].contains(name))
            return user;
        for (size_t i = 0; i < parts.size(); i++)
            if (literals[i].contains(name))
                return i;
        return parts.size();
    };
    for (size_t i = 0; i < parts.size(); i++) {
        Words needs, later, defines;
        for (size_t t = 0; t < tokens[i].size(); t++) {
            const PostScriptToken &token = tokens[i][t];
            bool loadedLiteral = token.kind == TokenKind::LITERAL && t + 1 < tokens[i].size() &&
                                 tokens[i][t + 1].name == "load";
            bool used = token.kind == TokenKind::EXECUTABLE || token.kind == TokenKind::IMMEDIATE ||
                        loadedLiteral;
            if (!used || (!owners.contains(token.name) && loaded.operators.contains(token.name)))
                continue;
            size_t owner = ownerOf(token.name, i);
            EXPECT_LT(owner, parts.size()) << parts[i].file << ": nobody defines " << token.name;
            if (owner < i)
                needs.insert(token.name);
            else if (owner > i)
                later.insert(token.name);
        }
        for (size_t k = 0; k < loaded.keys.size(); k++)
            if (loaded.partsOfKeys[k] == i)
                defines.insert(loaded.keys[k]);
        bool isTrue =
            parts[i].needs == needs && parts[i].later == later && parts[i].defines == defines;
        EXPECT_TRUE(isTrue) << "HEAD " << parts[i].file << "\n"
                            << listed("Needs", needs) << "\n"
                            << listed("Later", later) << "\n"
                            << listed("Defines", defines) << "\nEND";
    }
}

TEST(PrologParts, SayWhatTheyNeedAndDefine)
{
    expectTrueHeads(prologParts());
}

TEST(PrologParts, OfJobsSayWhatTheyNeedAndDefine)
{
    expectTrueHeads(jobParts());
}

/* ---- the variables of long procedures */

using Tokens = std::vector<PostScriptToken>;

/* What the procedures of the prolog are made of, by name.  A dictionary of procedures counts as one
 * of everything that stands in it, since a lookup in it may call each of them. */
std::map<std::string, Tokens> procedureBodies()
{
    std::map<std::string, Tokens> bodies;
    std::string region; /* the dictionary that is open */
    Tokens statement;
    for (const PostScriptToken &token : postScriptTokens(prologSource())) {
        bool outer = token.depth == 0 && token.kind == TokenKind::EXECUTABLE;
        bool opens = outer && token.name == "begin" && statement.back().name != "dict";
        bool ends = outer && (token.name == "end" || token.name == "def" || token.name == "Op" ||
                              token.name == "PageOp" || token.name == "forall");
        if (opens) {
            region = statement.back().name;
        } else if (!ends) {
            statement.push_back(token);
            continue;
        }
        std::string owner = region;
        for (const PostScriptToken &part : statement) {
            bool defines = part.kind == TokenKind::LITERAL && part.depth == 0;
            if (owner.empty() && defines && token.name == "def")
                owner = part.name;
            if (part.name == "PageOp")
                owner = "PageOps";
        }
        if (token.name == "Op" || token.name == "PageOp")
            owner = token.name == "Op" ? "ContentOps" : "PageOps";
        if (!owner.empty()) /* else it runs while the prolog is loaded */
            bodies[owner].insert(bodies[owner].end(), statement.begin(), statement.end());
        if (token.name == "end")
            region.clear();
        statement.clear();
    }
    return bodies;
}

/* The names that a procedure sets while one of these dictionaries is open in it, and what it calls
 * meanwhile. */
struct LocalUse {
    std::string procedure;
    std::string dictionary;
    Words names;
    Words calls;
};

/* The names in front of each `def`: its own and some that are only mentioned. */
Words namesSet(const Tokens &body)
{
    Words names, pending;
    for (const PostScriptToken &token : body) {
        if (token.kind == TokenKind::LITERAL) {
            pending.insert(token.name);
        } else if (token.name == "def") {
            names.merge(pending);
            pending.clear();
        }
    }
    return names;
}

std::vector<LocalUse> localUses(const std::map<std::string, Tokens> &bodies)
{
    std::vector<LocalUse> uses;
    for (const auto &[procedure, body] : bodies)
        for (size_t i = 0; i < body.size(); i++) {
            if (!body[i].name.ends_with("Locals") || body[i].kind != TokenKind::IMMEDIATE)
                continue;
            Tokens inside;
            for (size_t k = i + 1; k < body.size(); k++)
                if (body[k].name == "end" && body[k].depth == body[i].depth)
                    break;
                else
                    inside.push_back(body[k]);
            LocalUse use = {procedure, body[i].name, namesSet(inside), {}};
            for (const PostScriptToken &token : inside)
                use.calls.insert(token.name);
            uses.push_back(use);
        }
    return uses;
}

/* Everything that can run below a call of one of the names. */
Words reachedFrom(const Words &names, const std::map<std::string, Tokens> &bodies)
{
    Words reached;
    std::vector<std::string> open(names.begin(), names.end());
    while (!open.empty()) {
        std::string name = open.back();
        open.pop_back();
        if (!bodies.contains(name) || !reached.insert(name).second)
            continue;
        for (const PostScriptToken &token : bodies.at(name))
            open.push_back(token.name);
    }
    return reached;
}

/* A procedure that another one calls while its variables are in use has others: a colour space
 * inside a colour space must not change the outer one's. */
TEST(PrologParts, NoTwoProceduresThatRunAtOneTimeShareAVariable)
{
    std::map<std::string, Tokens> bodies = procedureBodies();
    std::vector<LocalUse> uses = localUses(bodies);
    EXPECT_GT(uses.size(), 8U);
    for (const LocalUse &outer : uses) {
        Words reached = reachedFrom(outer.calls, bodies);
        Words outerNames = outer.names;
        for (const std::string &name : reached)
            if (bodies.at(name).size() > 0 && !localUses({{name, bodies.at(name)}}).size())
                outerNames.merge(namesSet(bodies.at(name)));
        for (const LocalUse &inner : uses) {
            if (!reached.contains(inner.procedure) || inner.dictionary != outer.dictionary)
                continue;
            for (const std::string &name : inner.names)
                EXPECT_FALSE(outerNames.contains(name))
                    << outer.procedure << " calls " << inner.procedure << ": " << name;
        }
    }
}

} // namespace
