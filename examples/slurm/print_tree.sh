#!/bin/sh
# print_tree.sh - a Slurm array job that prints a tree of PDF documents
#
#   pdf_print-batch DIR -o OUT --begin                       makes the list of the documents
#   sbatch --array=1-16 examples/slurm/print_tree.sh OUT     task i of 16 prints every 16th of them
#   pdf_print-batch -o OUT --end --csv report.csv            tells what became of them
#
# A task that is requeued, or the whole line given again, goes on where it was.  The number of tasks
# may be another one the next time.
#SBATCH --job-name=pdf_print
#SBATCH --requeue
#SBATCH --open-mode=append
set -eu
out=${1:?the tree that pdf_print-batch --begin made}
if [ "$SLURM_ARRAY_TASK_MIN" -ne 1 ] || [ "$SLURM_ARRAY_TASK_COUNT" -ne "$SLURM_ARRAY_TASK_MAX" ]; then
    echo "print_tree.sh: the array begins with 1 and leaves nothing out, as in --array=1-16" >&2
    exit 2
fi
exec pdf_print-batch -o "$out" --share "$SLURM_ARRAY_TASK_ID/$SLURM_ARRAY_TASK_MAX" \
    --jobs "${SLURM_CPUS_PER_TASK:-1}"
