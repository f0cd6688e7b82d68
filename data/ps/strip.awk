# strip.awk - a PostScript file without its comments and indentation
#
# The file goes to the printer in front of every document; what explains it need not.  The mark of
# PostScript files in the first line stays.  A string must end in the line in which it begins.

NR == 1 && /^%!/ {
    print
    next
}

{
    sub(/^[ \t]+/, "")
    depth = 0
    end = length($0)
    for (i = 1; i <= end; i++) {
        c = substr($0, i, 1)
        if (c == "\\" && depth > 0)
            i++
        else if (c == "(")
            depth++
        else if (c == ")")
            depth--
        else if (c == "%" && depth == 0)
            break
    }
    if (depth != 0) {
        print FILENAME ":" FNR ": a string does not end in this line" > "/dev/stderr"
        exit 1
    }
    line = substr($0, 1, i - 1)
    sub(/[ \t]+$/, "", line)
    if (line != "")
        print line
}
