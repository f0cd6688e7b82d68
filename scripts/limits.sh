#!/bin/sh
# limits.sh - what a job asks of an interpreter that has limits
#
#   scripts/limits.sh JOB.ps...
#
# Runs each job in Ghostscript under procedures that take the place of operators, measure, and call
# them.  The largest figures of all jobs come in one table beside the limits of a Level 2
# interpreter: objects on the operand stack, dictionaries, the execution stack and graphics states,
# the longest string, array and name, and segments of one path.  The procedures themselves take up
# to three places on the execution stack.
set -eu
work=$(mktemp -d "${TMPDIR:-/tmp}/limits.XXXXXX")
trap 'rm -rf "$work"' EXIT

cat >"$work/measure.ps" <<'PS'
true setglobal
userdict /LimitsSeen 20 dict put                % what is global outlives the pages' restore
LimitsSeen begin
    /operands 0 def /dictionaries 0 def /execution 0 def /states 0 def
    /string 0 def /array 0 def /name 0 def /path 0 def
end
false setglobal
userdict begin
/LimitsDepth 0 def                              % and what is local follows it
/LimitsExec /exec load def
% n key  LimitsMost  -
/LimitsMost {
    //LimitsSeen exch 2 copy get 3 index lt { 3 -1 roll put } { pop pop pop } ifelse
} bind def
/LimitsStacks {
    count /operands LimitsMost
    countdictstack /dictionaries LimitsMost
    countexecstack /execution LimitsMost
} bind def
% string  LimitsString  string
/LimitsString {
    dup type /stringtype eq { dup length /string LimitsMost } if
    dup type /nametype eq { dup length /name LimitsMost } if
    dup type /arraytype eq { dup length /array LimitsMost } if
} bind def
% name proc  LimitsBefore  -    runs the procedure before the operator, each time
/LimitsBefore {
    1 index load dup type /operatortype eq { [ 3 1 roll /LimitsExec load exch ] }
    { [ 3 1 roll /LimitsExec load exch /LimitsExec load ] } ifelse cvx def
} bind def
/LimitsPath {
    LimitsStacks
    0 { pop pop 1 add } { pop pop 1 add } { 6 { pop } repeat 1 add } { 1 add } pathforall
    /path LimitsMost
} bind def
/LimitsState {
    /LimitsDepth LimitsDepth 1 add store LimitsDepth /states LimitsMost LimitsStacks
} bind def
[ /fill /eofill /stroke /clip /eoclip ] { { LimitsPath } LimitsBefore } forall
[ /moveto /setgray /setrgbcolor /setcmykcolor /setlinewidth /setfont /concat /image /imagemask
  /makefont /setcolorspace /rectclip /setdash /newpath /begin /exec /stopped /filter
] { { LimitsStacks } LimitsBefore } forall
[ /show /ashow /widthshow /awidthshow /stringwidth /known /cvn /definefont /readstring /length
  /forall /get
] { { LimitsStacks LimitsString } LimitsBefore } forall
(]) cvn {
    counttomark /array LimitsMost counttomark 0 gt { LimitsString } if LimitsStacks
} LimitsBefore
/gsave { LimitsState } LimitsBefore
/grestore { /LimitsDepth LimitsDepth 1 sub store } LimitsBefore
/save { LimitsStacks } LimitsBefore
end
PS
cat >"$work/report.ps" <<'PS'
LimitsSeen { exch 20 string cvs print ( ) print = } forall flush
PS

for job in "$@"; do
    gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=nullpage "$work/measure.ps" "$job" "$work/report.ps" \
        </dev/null 2>/dev/null | grep -E '^(operands|dictionaries|execution|states|string|array|name|path) [0-9]+$' ||
        echo "limits.sh: $job: no figures" >&2
done | awk '
    { if ($2 > most[$1]) most[$1] = $2 }
    END {
        split("operands dictionaries execution states string array name path", keys, " ")
        split("500 20 250 31 65535 65535 127 1500", limits, " ")
        for (i = 1; i <= 8; i++)
            printf "%-14s%8d of %d\n", keys[i], most[keys[i]], limits[i]
    }'
