#!/bin/sh
# SPDX-License-Identifier: BSL-1.0
# commands_test.sh PAGE TOOL: runs the commands of a page that stand behind a mark `<!-- run: TEXT -->`,
# as they stand there, in a folder with some logs, and wants TEXT in what each prints.
set -eu
page=$(realpath "$1")
PATH=$(dirname "$(realpath "$2")"):$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir -p "logs" home
export HOME="$work/home"
for number in 1 2 3; do printf 'start\nerror %d7\nend\n' $number >"logs/part $number.log"; done
cat logs/*.log >all.log

awk -v RS='\n' '
  /^<!-- run: .* -->$/ { want = substr($0, 11, length($0) - 14); next }
  /^```sh$/ && want != "" { name = "command" ++n; print want > (name ".want"); inside = 1; next }
  /^```$/ { inside = 0; want = ""; next }
  inside { print > (name ".sh") }' "$page"

ran=0
for script in command*.sh; do
  if grep -q parallel "$script" && ! parallel --version >/dev/null 2>&1; then continue; fi
  sh -eu "$script" >output
  grep -qF -- "$(cat "${script%.sh}.want")" output || { echo "$script:"; cat "$script" output; exit 1; }
  ran=$((ran + 1))
done
[ $ran -ge 3 ] || { echo "only $ran commands were run"; exit 1; }
