#!/usr/bin/env bash
# check_header.sh HEADER MAP
#
# The public header and the version script must describe the same interface:
# - the header compiles on its own as C99 and as C++17 without a single warning;
# - the functions it declares are exactly the 279 functions of the version script;
# - every function and every data object of the version script, declared as the header declares
#   it, leaves a shared library built with hidden visibility: so each declaration carries
#   MARROWS_API, sits in the extern "C" block if it is a C name, and names the right object.
set -euo pipefail
export LC_ALL=C

if [ $# -ne 2 ]; then
    echo "usage: $0 HEADER MAP" >&2
    exit 2
fi
header=$1
map=$2
for f in "$header" "$map"; do
    [ -r "$f" ] || { echo "$0: cannot read $f" >&2; exit 2; }
done
expected_functions=279
expected_data=17

# The include directory that clients name with -I: the header is <marrows/marrows.h> below it.
header_dir=$(cd "$(dirname "$header")" && pwd)
include_dir=$(dirname "$header_dir")
include_name=$(basename "$header_dir")/$(basename "$header")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=()

# Reads the version script: the names between the "Functions" and "Data" markers are functions,
# the names after "Data" are data objects, those inside extern "C++" { } by their C++ names.
map_functions=()
map_data=()
map_cxx_data=()
section=none
in_cxx=0
while IFS= read -r line; do
    case $line in
        *'/* Functions:'*) section=functions; continue ;;
        *'/* Data:'*) section=data; continue ;;
    esac
    if [[ $line =~ ^[[:space:]]*extern[[:space:]]+\"C\+\+\"[[:space:]]*\{[[:space:]]*$ ]]; then
        in_cxx=1
        continue
    fi
    if [ $in_cxx = 1 ] && [[ $line =~ ^[[:space:]]*\}\;[[:space:]]*$ ]]; then
        in_cxx=0
        continue
    fi
    [[ $line =~ ^[[:space:]]*([A-Za-z_][A-Za-z0-9_:]*)[[:space:]]*\;[[:space:]]*$ ]] || continue
    name=${BASH_REMATCH[1]}
    if [ $in_cxx = 1 ]; then
        map_cxx_data+=("$name")
    elif [ $section = functions ]; then
        map_functions+=("$name")
    elif [ $section = data ]; then
        map_data+=("$name")
    fi
done < "$map"

printf '%s\n' "${map_functions[@]}" | sort > "$work/map_functions"
printf '%s\n' "${map_data[@]}" "${map_cxx_data[@]}" | sort > "$work/map_data"
duplicates=$(sort "$work/map_functions" "$work/map_data" | uniq -d)
[ -z "$duplicates" ] || failures+=("names listed twice in $map: $(echo $duplicates)")
[ ${#map_functions[@]} -eq $expected_functions ] ||
    failures+=("$map lists ${#map_functions[@]} functions, not $expected_functions")
[ $((${#map_data[@]} + ${#map_cxx_data[@]})) -eq $expected_data ] ||
    failures+=("$map lists $((${#map_data[@]} + ${#map_cxx_data[@]})) data objects, not $expected_data")

# 1. The header alone, in both languages, as a client includes it.
flags=(-Wall -Wextra -Werror -pedantic -I"$include_dir")
gcc -std=c99 -fsyntax-only "${flags[@]}" -x c "$header" ||
    failures+=("the header doesn't compile as C99")
g++ -std=c++17 -fsyntax-only "${flags[@]}" -x c++ "$header" ||
    failures+=("the header doesn't compile as C++17")
printf '#include <%s>\n' "$include_name" > "$work/client.c"
gcc -std=c99 -fsyntax-only "${flags[@]}" "$work/client.c" ||
    failures+=("#include <$include_name> doesn't compile as C99")

# 2. The functions that the header declares, as the C compiler sees them: one prototype a line.
gcc -std=c99 -fsyntax-only -I"$include_dir" -aux-info "$work/aux" -x c "$header"
grep -F "/* $header:" "$work/aux" | sed -E 's@^/\* [^*]* \*/ (extern )?@@; s@;[[:space:]]*$@@' \
    > "$work/prototypes"
sed -E 's/[[:space:]]*\(.*$//; s/.*[ *]//' "$work/prototypes" | sort > "$work/header_functions"
header_count=$(wc -l < "$work/header_functions")
missing=$(comm -13 "$work/header_functions" "$work/map_functions")
extra=$(comm -23 "$work/header_functions" "$work/map_functions")
[ -z "$missing" ] || failures+=("functions of $map that the header doesn't declare: $(echo $missing)")
[ -z "$extra" ] || failures+=("functions declared in the header but absent from $map: $(echo $extra)")
twice=$(uniq -d "$work/header_functions")
[ -z "$twice" ] || failures+=("functions declared twice: $(echo $twice)")

# 3. A library that defines everything the header declares, built with hidden visibility:
#    only what carries MARROWS_API is exported.
{
    printf '#include <%s>\n' "$include_name"
    while IFS= read -r prototype; do
        if [[ $prototype =~ ^void[[:space:]]+[A-Za-z_] ]]; then
            printf 'extern "C" %s {}\n' "$prototype"
        else
            printf 'extern "C" %s { return 0; }\n' "$prototype"
        fi
    done < "$work/prototypes"
    for name in "${map_data[@]}" "${map_cxx_data[@]}"; do
        printf 'decltype(%s) %s{};\n' "$name" "$name"
    done
} > "$work/stubs.cpp"
if g++ -std=c++17 "${flags[@]}" -fPIC -fvisibility=hidden -shared -o "$work/libstubs.so" \
       "$work/stubs.cpp" 2> "$work/stubs.log"; then
    nm -D --defined-only "$work/libstubs.so" | awk '$2 ~ /^[TtWwi]$/ { print $3 }' | sort \
        > "$work/exported_functions"
    nm -DC --defined-only "$work/libstubs.so" |
        awk '$2 !~ /^[TtWwi]$/ { n = $0; sub(/^[^ ]* [^ ]+ /, "", n); print n }' | sort \
        > "$work/exported_data"
    hidden=$(comm -23 "$work/map_functions" "$work/exported_functions")
    [ -z "$hidden" ] ||
        failures+=("functions not exported as declared (MARROWS_API? extern \"C\"?): $(echo $hidden)")
    hidden=$(comm -23 "$work/map_data" "$work/exported_data")
    [ -z "$hidden" ] || failures+=("data not exported as declared (MARROWS_API?): $(echo $hidden)")
    stray=$(comm -13 "$work/map_functions" "$work/exported_functions"
            comm -13 "$work/map_data" "$work/exported_data")
    [ -z "$stray" ] || failures+=("the header exports names outside $map: $(echo $stray)")
else
    head -n 20 "$work/stubs.log" >&2
    failures+=("a library defining the header's declarations doesn't build")
fi

echo "$header declares $header_count functions; $map lists ${#map_functions[@]} functions and" \
     "$((${#map_data[@]} + ${#map_cxx_data[@]})) data objects"
if [ ${#failures[@]} -ne 0 ]; then
    printf '  %s\n' "${failures[@]}"
    exit 1
fi
