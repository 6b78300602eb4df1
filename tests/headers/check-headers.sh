#!/usr/bin/env bash
# Installs the build tree into a fresh prefix and compiles every installed header on its own, with
# nothing but the install's include folder on the path: a public header that needs a private one,
# or that forgets an include, fails here.
# usage: check-headers.sh BUILD_DIR WORK_DIR CXX
set -uo pipefail
build=$1 work=$2 cxx=$3
rm -rf "$work" && mkdir -p "$work"
cmake --install "$build" --prefix "$work/prefix" >/dev/null || { echo "check-headers: install failed"; exit 1; }
inc="$work/prefix/include"
cd "$inc" || exit 1
headers=$(find OpenSG OpenSGExt platform -type f \( -name '*.h' -o -name '*.inl' \) | sort)
count=$(printf '%s\n' "$headers" | grep -c .)
# A private header must not be installed at all.
if printf '%s\n' "$headers" | grep -q '/detail/'; then
    echo "check-headers: private headers were installed"; exit 1
fi
# Generated Base/Fields headers are included first by their type's own header, with includes the
# generator writes the same way for every type: checking the type's header covers them.
failed=$(printf '%s\n' "$headers" | grep -v -e '\.inl$' -e 'Base\.h$' -e 'Fields\.h$' | xargs -P 2 -I{} sh -c \
    'printf "#include <%s>\n" "$1" | "$2" -std=c++17 -fsyntax-only -I"$3" -x c++ - >"$4/$(echo "$1" | tr / _).log" 2>&1 || echo "$1"' \
    _ {} "$cxx" "$inc" "$work")
if [ -n "$failed" ]; then
    for h in $failed; do
        echo "check-headers: $h does not compile on its own:"
        head -n 15 "$work/$(echo "$h" | tr / _).log"
    done
    exit 1
fi
echo "check-headers: $count installed headers compile on their own"
