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

/* A name is an operator, or it belongs to the part that defines it.  A variable, which lives in a
 * dictionary of its own, belongs to the first part that sets it. */
TEST(PrologParts, SayWhatTheyNeedAndDefine)
{
    std::vector<PrologPart> parts = prologParts();
    Loaded loaded = loadParts(parts);
    std::map<std::string, size_t> owners;
    for (size_t i = 0; i < loaded.keys.size(); i++)
        owners[loaded.keys[i]] = loaded.partsOfKeys[i];
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

} // namespace
