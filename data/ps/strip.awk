# strip.awk - a PostScript file without its comments, its indentation and blanks around brackets
#
# The file goes to the printer in front of every document; what explains it need not.  The mark of
# PostScript files in the first line stays.  A string must end in the line in which it begins.
# With `marks` each file begins with a line that names it.

marks && FNR == 1 {
    print "%%Part: " FILENAME
}

NR == 1 && /^%!/ {
    print
    next
}

{
    line = ""
    depth = 0
    end = length($0)
    for (i = 1; i <= end; i++) {
        c = substr($0, i, 1)
        if (depth > 0) {
            if (c == "\\")
                c = c substr($0, ++i, 1)
            else if (c == "(")
                depth++
            else if (c == ")")
                depth--
        } else if (c == "(") {
            depth++
        } else if (c == "%") {
            break
        } else if (c ~ /[ \t]/) {
            if (line ~ /(^|[][{} ])$/)
                continue
            c = " "
        } else if (c ~ /[][{}]/) {
            sub(/ $/, "", line)
        }
        line = line c
    }
    if (depth != 0) {
        print FILENAME ":" FNR ": a string does not end in this line" > "/dev/stderr"
        exit 1
    }
    sub(/ $/, "", line)
    if (line != "")
        print line
}
