#!/bin/bash
# The rules of the house that a compiler does not check.
set -euo pipefail
cd "$1"
wrong=0

# forbid WHAT FOLDERS PATTERN
forbid() {
    local found
    # shellcheck disable=SC2086 # a list of folders
    if found=$(grep -rnE --include='*.h' --include='*.cpp' "$3" $2); then
        echo "$1:" && echo "$found"
        wrong=1
    fi
}

rooms=module
forbid 'the module includes the lab or the tests' "$rooms" '#include "(lab|tests)/'
forbid 'output/ includes what fills the model' module/output '#include "module/(topology|messages)/'
forbid 'model/ includes a JSON library' module/model '#include .json-c'
forbid 'nothing but base/json.cpp knows json-c' 'module/topology module/messages module/output module/platform' '#include .json-c'
forbid 'a runtime library is not for the module' "$rooms" '#include <(string|vector|map|set|list|deque|iostream|sstream|fstream|functional|thread|mutex|unordered_.*)>'
forbid 'a command is run past base/shell.cpp' 'module/model module/topology module/messages module/output' '\b(std::)?(system|popen)\('

# must_be_listed FILE PATTERN FOLDER...: sources below the folders that the CMake file does not name.
must_be_listed() {
    local list=$1 pattern=$2 source
    shift 2
    while read -r source; do
        grep -q "${source#tests/}" "$list" || { echo "$source is not built"; wrong=1; }
    done < <(find "$@" -name "$pattern")
}
must_be_listed CMakeLists.txt '*.cpp' module
must_be_listed tests/CMakeLists.txt '*_test.cpp' tests
exit "$wrong"
