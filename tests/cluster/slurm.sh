#!/bin/sh
# slurm.sh EXAMPLES BIN - the array job in a cluster of one node, which is drained in between
#
# The daemons run with a configuration of their own on the loopback interface.
set -eu
examples=$1
PATH=$2:$PATH:/usr/sbin
for program in slurmctld slurmd munged sbatch; do
    if ! command -v $program >/dev/null; then
        echo "Skipped: $program is not installed (slurmctld, slurmd, slurm-client, munge)"
        exit 77
    fi
done
work=$(mktemp -d)
pids=
end() {
    scancel --user "$(id -un)" 2>/dev/null || true
    for pid in $pids; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    rm -rf "$work"
}
trap end EXIT
trap 'exit 1' HUP INT TERM
. "${0%/*}/tree.sh"

# until COMMAND... : waits for it to be true, up to two minutes.
until_true() {
    tries=0
    while ! "$@"; do
        tries=$((tries + 1))
        if [ $tries -gt 600 ]; then
            tail -n 20 "$work"/*.log
            fail "Waited in vain for: $*"
        fi
        sleep 0.2
    done
}

start_cluster() {
    mkdir -m 755 "$work/run" "$work/state" "$work/spool"
    chmod 755 "$work"
    head -c 1024 /dev/urandom >"$work/key"
    chmod 600 "$work/key"
    munged --foreground --force --key-file="$work/key" --socket="$work/run/socket" \
        --pid-file="$work/run/pid" --log-file="$work/munge.log" --seed-file="$work/seed" 2>"$work/munged.log" &
    pids="$pids $!"
    until_true [ -S "$work/run/socket" ]
    port=$((20000 + $$ % 10000 * 2))
    user=$(id -un)
    cat >"$work/slurm.conf" <<END
ClusterName=test
SlurmctldHost=localhost
SlurmctldPort=$port
SlurmdPort=$((port + 1))
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket=$work/run/socket
SlurmUser=$user
SlurmdUser=$user
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool
SlurmctldPidFile=$work/run/slurmctld.pid
SlurmdPidFile=$work/run/slurmd.pid
ProctrackType=proctrack/pgid
TaskPlugin=task/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
NodeName=node NodeHostname=localhost NodeAddr=127.0.0.1 CPUs=$(nproc) State=UNKNOWN
PartitionName=main Nodes=ALL Default=YES State=UP
END
    export SLURM_CONF="$work/slurm.conf"
    slurmctld -c -D >"$work/slurmctld.log" 2>&1 &
    pids="$! $pids"
    slurmd -N node -D >"$work/slurmd.log" 2>&1 &
    pids="$! $pids"
    until_true is_node idle
}

is_node() {
    [ "$(sinfo --noheader --format=%t 2>/dev/null)" = "$1" ]
}

is_done() {
    [ "$(done_count)" -ge "$1" ]
}

jobs_in() {
    squeue --noheader --array --states="$1" | wc -l
}

is_queue_empty() {
    [ "$(jobs_in all)" -eq "$(jobs_in completed,cancelled,failed)" ]
}

submit() {
    sbatch --parsable --array=1-8 --output="$work/task-%a.log" "$examples/slurm/print_tree.sh" \
        "$work/out" >>"$work/jobs"
}

start_cluster
make_tree 200
pdf_print-batch "$work/in" -o "$work/out" --begin
submit
until_true is_done 20

# The node is taken out, what runs on it is cancelled; what waits does not begin.
scontrol update NodeName=node State=DRAIN Reason=test
scancel --state=RUNNING --user "$(id -un)"
until_true is_node drain
[ "$(jobs_in pending)" -gt 0 ] || fail "No task waits for the node"
[ "$(jobs_in running,completing)" -eq 0 ] || fail "The drained node goes on"
[ "$(done_count)" -lt 200 ] || fail "All was done before the node was drained"

# It comes back, and the array is given a second time for what the cancelled tasks have left.
scontrol update NodeName=node State=RESUME
until_true is_queue_empty
[ "$(done_count)" -lt 200 ] || fail "The cancelled tasks were not stopped"
submit
until_true is_queue_empty
check_tree 200
