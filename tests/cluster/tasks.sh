#!/bin/sh
# tasks.sh EXAMPLES BIN - the array's tasks, started by hand
set -eu
examples=$1
PATH=$2:$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. "${0%/*}/tree.sh"

make_tree 12
[ "$(pdf_print-batch "$work/in" -o "$work/out" --begin)" -eq 12 ] || fail "There are not 12 documents"
export SLURM_ARRAY_TASK_MIN=1 SLURM_ARRAY_TASK_MAX=5 SLURM_ARRAY_TASK_COUNT=5
for task in 4 2 5 1; do
    SLURM_ARRAY_TASK_ID=$task "$examples/slurm/print_tree.sh" "$work/out"
done
[ "$(done_count)" -eq 10 ] || fail "Four of five tasks printed $(done_count) documents"
if pdf_print-batch -o "$work/out" --end 2>"$work/said"; then
    fail "A tree without its last documents counts as printed"
fi
grep -q ' 10 printed, .* 2 not done$' "$work/said" || fail "$(cat "$work/said")"
for task in 3 4; do
    SLURM_ARRAY_TASK_ID=$task "$examples/slurm/print_tree.sh" "$work/out"
done
check_tree 12

# A choice of tasks is refused: the others' documents would be left out.
export SLURM_ARRAY_TASK_COUNT=2
status=0
SLURM_ARRAY_TASK_ID=1 "$examples/slurm/print_tree.sh" "$work/out" 2>/dev/null || status=$?
[ $status -eq 2 ] || fail "An array with gaps is taken"
