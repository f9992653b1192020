#!/usr/bin/env bash
# check_exports.sh LIB MAP
#
# The shared library must export nothing but the client interface named in the version script:
# every defined dynamic code symbol is one of its functions, every defined dynamic data symbol
# one of its data objects (class statics compared by their demangled names), and no symbol is
# STB_GNU_UNIQUE (that would make dlclose a no-op). Every function and data object of the
# interface must be there.
set -euo pipefail
export LC_ALL=C

if [ $# -ne 2 ]; then
    echo "usage: $0 LIB MAP" >&2
    exit 2
fi
lib=$1
map=$2
for f in "$lib" "$map"; do
    [ -r "$f" ] || { echo "$0: cannot read $f" >&2; exit 2; }
done

# Reads the version script: the names between the "Functions" and "Data" markers are functions,
# the names after "Data" are data objects, those inside extern "C++" { } by their C++ names.
declare -A map_function=() map_data=() map_cxx_data=()
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
        map_cxx_data[$name]=1
    elif [ $section = functions ]; then
        map_function[$name]=1
    elif [ $section = data ]; then
        map_data[$name]=1
    fi
done < "$map"

if [ ${#map_function[@]} -eq 0 ] || [ $((${#map_data[@]} + ${#map_cxx_data[@]})) -eq 0 ]; then
    echo "$0: found no function or no data names in $map (are the Functions/Data markers there?)" >&2
    exit 2
fi

# "TYPE<tab>NAME" per defined dynamic symbol; the demangled listing has the same order.
list_symbols() {
    nm -D --defined-only "$@" "$lib" |
        awk '{ t = $2; n = $0; sub(/^[^ ]* [^ ]+ /, "", n); sub(/@.*$/, "", n); print t "\t" n }'
}
mapfile -t raw < <(list_symbols)
mapfile -t demangled < <(list_symbols -C)
if [ ${#raw[@]} -ne ${#demangled[@]} ]; then
    echo "$0: nm gave ${#raw[@]} symbols, nm -C ${#demangled[@]}" >&2
    exit 2
fi

violations=()
functions=0
data=0
for i in "${!raw[@]}"; do
    type=${raw[$i]%%$'\t'*}
    name=${raw[$i]#*$'\t'}
    pretty=${demangled[$i]#*$'\t'}
    case $type in
        T|t|W|w|i) kind=code ;;
        B|b|D|d|R|r|V|v|u|G|g|S|s|C|c) kind=data ;;
        *) kind=other ;;
    esac
    if [ $kind = code ] && [ -n "${map_function[$name]+x}" ]; then
        functions=$((functions + 1))
    elif [ $kind = data ] && { [ -n "${map_data[$name]+x}" ] || [ -n "${map_cxx_data[$pretty]+x}" ]; }; then
        data=$((data + 1))
    elif [ -n "${map_function[$name]+x}" ]; then
        violations+=("$type $pretty: a function of the interface, exported as $kind")
    elif [ -n "${map_data[$name]+x}" ] || [ -n "${map_cxx_data[$pretty]+x}" ]; then
        violations+=("$type $pretty: a data object of the interface, exported as $kind")
    else
        violations+=("$type $pretty: not part of the interface")
    fi
done

unique=$(readelf -Ws "$lib" | grep UNIQUE || true)
if [ -n "$unique" ]; then
    while IFS= read -r line; do
        violations+=("STB_GNU_UNIQUE: $line")
    done <<< "$unique"
fi

echo "$functions functions and $data data objects exported" \
     "(the interface has ${#map_function[@]} and $((${#map_data[@]} + ${#map_cxx_data[@]})))"
interface_data=$((${#map_data[@]} + ${#map_cxx_data[@]}))
if [ $functions -ne ${#map_function[@]} ] || [ $data -ne $interface_data ]; then
    violations+=("missing: $((${#map_function[@]} - functions)) functions, $((interface_data - data)) data objects")
fi
if [ ${#violations[@]} -ne 0 ]; then
    echo "${#violations[@]} symbols that must not be exported as they are:"
    printf '  %s\n' "${violations[@]}"
    exit 1
fi
