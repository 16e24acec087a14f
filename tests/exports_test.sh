#!/bin/bash
# Compares what a shared library exports with a list: what is gone from it breaks programs, and what
# is new in it is there to stay. Usage: exports_test.sh [--update] NM LIBRARY LIST.
# Exit code 77: there is no list for this target.
set -eu -o pipefail
update=no
if [ "$1" = --update ]; then update=yes && shift; fi
# Names alone: whether a virtual table is weak depends on the compiler. A constructor and a destructor
# come several times, for a class alone and as a base.
exports() { "$1" --dynamic --defined-only --demangle "$2" | sed -E 's/^[0-9a-f]* +. //' | LC_ALL=C sort; }
if [ $update = yes ]; then
  exports "$1" "$2" > "$3"
elif [ -e "$3" ]; then
  diff -u "$3" <(exports "$1" "$2")
else
  exit 77
fi
