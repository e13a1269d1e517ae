#!/usr/bin/env bash
# slurm.sh SELVANE: both passes over a film as job arrays of a Slurm of one node, as docs/many-machines.md has them. One worker is
# killed on the way; the array is submitted again, and the result has the bytes of one run over all frames.
set -euo pipefail
PATH=$(dirname "$1"):/usr/sbin:$PATH
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
node=$(hostname -s)
cd "$scratch"
mkdir frames parts graded workers state spool munge
chmod 711 "$scratch"
chmod 700 munge
daemons=()
trap 'kill "${daemons[@]}" 2>/dev/null || true; wait "${daemons[@]}" 2>/dev/null || true; rm -rf "$scratch"' EXIT

# say_and_fail WORDS: with what the daemons said.
say_and_fail() {
  echo "$1"
  tail -n 20 "$scratch"/*.log "$scratch"/*.out 2>/dev/null
  exit 1
}

# until_true SECONDS COMMAND...: waits until the command succeeds.
until_true() {
  local left=$(($1 * 10))
  shift
  until "$@" >/dev/null 2>&1; do
    [ $((left--)) -gt 0 ] || say_and_fail "waited in vain for: $*"
    sleep 0.1
  done
}

# A munge and a Slurm of our own: no system services, no control groups.
head -c 1024 /dev/urandom >munge/key
chmod 600 munge/key
munged --foreground --force --socket="$scratch/munge.socket" --key-file="$scratch/munge/key" --pid-file="$scratch/munge/pid" \
  --seed-file="$scratch/munge/seed" --log-file="$scratch/munge.log" --num-threads=2 >/dev/null 2>&1 &
daemons+=($!)
until_true 20 test -S munge.socket

port=$((20000 + $$ % 20000))
cat >slurm.conf <<EOF
ClusterName=film
SlurmctldHost=$node(127.0.0.1)
SlurmctldPort=$port
SlurmdPort=$((port + 1))
AuthType=auth/munge
AuthInfo=socket=$scratch/munge.socket
CredType=cred/munge
SlurmUser=$(id -un)
SlurmdUser=$(id -un)
StateSaveLocation=$scratch/state
SlurmdSpoolDir=$scratch/spool
SlurmctldPidFile=$scratch/slurmctld.pid
SlurmdPidFile=$scratch/slurmd.pid
SlurmctldLogFile=$scratch/slurmctld.log
SlurmdLogFile=$scratch/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
SchedulerType=sched/builtin
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
ReturnToService=2
MpiDefault=none
SwitchType=switch/none
NodeName=$node NodeAddr=127.0.0.1 CPUs=2 State=UNKNOWN
PartitionName=film Nodes=$node Default=YES MaxTime=INFINITE State=UP OverSubscribe=FORCE:2
EOF
export SLURM_CONF=$scratch/slurm.conf
slurmctld -D >/dev/null 2>&1 &
daemons+=($!)
until_true 30 scontrol ping
slurmd -D -N "$node" >/dev/null 2>&1 &
daemons+=($!)
until_true 30 bash -c "sinfo --noheader --format=%t | grep -qE 'idle|mix|alloc'"

"$here/film.py" frames 12
selvane sequence frames/*.hdr --out-dir expected --name '{stem}.png' --quiet

# The jobs of the page. The fifth render stops on its way when it is made for the first time, and is killed.
printf '%s\n' frames/*.hdr >frames.txt
cat >measure.sh <<'EOF'
#!/bin/bash
frame=$(sed -n "${SLURM_ARRAY_TASK_ID}p" frames.txt)
selvane points --quiet "$frame" -o "parts/$(basename "$frame" .hdr).json"
EOF
cat >render.sh <<'EOF'
#!/bin/bash
frame=$(sed -n "${SLURM_ARRAY_TASK_ID}p" frames.txt)
selvane tonemap --quiet --points points.json "$frame" --out-dir graded --name '{stem}.png' --resume &
if [ "$SLURM_ARRAY_TASK_ID" = 5 ] && [ ! -e workers/5 ]; then
  kill -STOP $!
  echo $! >workers/5.new && mv workers/5.new workers/5
fi
wait $!
EOF
submit() { sbatch --quiet --chdir="$scratch" --output="$scratch/%x-%a.out" "$@"; }

submit --wait --array=1-12%2 measure.sh || say_and_fail "the frames were not measured"
[ "$(find parts -name '*.json' | wc -l)" -eq 12 ]
selvane points --join parts/*.json -o points.json --quiet

submit --wait --array=1-12%2 render.sh &
waiting=$!
until_true 60 test -s workers/5
kill -KILL "$(cat workers/5)"
! wait "$waiting" || say_and_fail "the killed worker was not noticed"
[ ! -e graded/frame0005.png ]
[ "$(find graded -name '*.png' | wc -l)" -eq 11 ]

touch -d '1 hour ago' frames/*.hdr points.json
touch reference
sleep 0.1
submit --wait --array=1-12%2 render.sh || say_and_fail "the second run failed"
[ "$(find graded -newer reference -name '*.png' -printf '%f')" = frame0005.png ]
rm -f graded/.selvane-*
diff -r expected graded
