#!/bin/bash
# Installs the Python package offline into a fresh virtual environment (over
# Debian's python3 and its site packages) and runs the operation tests with
# the installed copy. Usage: install_check.sh <build dir> <source dir>
set -euo pipefail
build=$1 source=$2
work=$build/python-install
rm -rf "$work" && mkdir -p "$work"
cp -r "$source/bindings/python" "$work/src"
/usr/bin/python3 -m venv --system-site-packages "$work/venv"
"$work/venv/bin/pip" install --quiet --no-index --no-build-isolation "$work/src"
cd "$work"
"$work/venv/bin/python" -c "import morvanta, os; assert '$work/venv' in morvanta.__file__, morvanta.__file__; \
assert os.path.exists(os.path.join(os.path.dirname(morvanta.__file__), 'py.typed'))"
MORVANTA_TEST_INSTALLED=1 "$work/venv/bin/python" -m pytest -q -p no:cacheprovider \
  "$source/tests/python/test_operations.py"
