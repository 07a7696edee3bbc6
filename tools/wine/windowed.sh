#!/bin/bash
# windowed.sh PROGRAM.exe ARGUMENTS...: as run.sh, on a display of its own.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
source "$here/environment.sh"
exec "${on_one_processor[@]}" xvfb-run -a "$here/run.sh" "$@"
