# shorten.awk - a stripped PostScript file with short names
#   awk -f shorten.awk parts ... stripped
#
# What the heads of the parts say under "Defines:" is nobody else's business, so that its names may
# be anything; but those that page descriptions call, and those that are keys of their
# dictionaries, stay.  The last file is the one that is written out.

BEGIN {
    split("int limit findRes defineRes SetIndexed ReadCount ReadContent AddCreatedFile CallImage " \
          "CallForm SetFilter AppendCount ExecType1C AdjFont T3AdjEnc T3DefFnct PageContents " \
          "UseContents UseShared OpenResources CloseResources Place PageClip BaseEncoding " \
          "definefont begin file _defaulthalftone BMC BDC EMC scn SCN", kept, " ")
    for (i in kept)
        isKept[kept[i]] = 1
    split("f1 f2 f3 px py", inFunctions, " ")     # what sampled functions define
    for (i in inFunctions)
        isUsed[inFunctions[i]] = 1
    letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
    digits = letters "0123456789"
    last = ARGV[ARGC - 1]
}

# ---- the heads of the parts
FILENAME != last {
    if (FNR == 1)
        inHead = isList = 0
    if (FNR == 1 || inHead) {
        inHead = /^%/
        if (inHead) {
            if (/^% (Needs|Later|Defines):/)
                isList = /^% Defines:/
            else if (!/^%     /)
                isList = 0
            if (isList) {
                sub(/^% Defines:/, "")
                sub(/^%/, "")
                count = split($0, words, " ")
                for (i = 1; i <= count; i++)
                    if (!(words[i] in isKept) && length(words[i]) > 2)
                        isOurs[words[i]] = 1
            }
        }
    }
    next
}

# ---- the file itself
{ text[++lines] = $0 }

# The next name that nobody has.
function nextName() {
    do {
        name = substr(letters, int(number / 62) % 52 + 1, 1) substr(digits, number % 62 + 1, 1)
        number++
    } while (name in isUsed)
    return name
}

# Calls out with each word outside of strings; `mode` 0 gathers them, 1 answers the line rewritten.
function walk(line, mode,   out, i, c, depth, word) {
    out = word = ""
    depth = 0
    for (i = 1; i <= length(line) + 1; i++) {
        c = substr(line, i, 1)
        if (depth == 0 && c ~ /[A-Za-z0-9_.*'"+-]/) {
            word = word c
            continue
        }
        if (word != "") {
            if (mode == 0)
                isUsed[word] = 1
            else if (word in isOurs) {
                if (!(word in short))
                    short[word] = nextName()
                word = short[word]
            }
            out = out word
            word = ""
        }
        if (c == "\\" && depth > 0)
            c = c substr(line, ++i, 1)
        else if (c == "(")
            depth++
        else if (c == ")")
            depth--
        out = out c
    }
    return out
}

END {
    number = 0
    for (i = 1; i <= lines; i++)
        if (text[i] !~ /^%/)
            walk(text[i], 0)
    for (i = 1; i <= lines; i++)
        print text[i] ~ /^%/ ? text[i] : walk(text[i], 1)
}
