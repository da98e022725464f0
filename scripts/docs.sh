#!/bin/sh
# Builds the reference of the public headers and of docs/ in build/docs/html, after installing what is missing. Fails on
# every warning, so also if a public declaration is not documented. The pages need no network.
#
# Mermaid's own program draws the diagrams, if npm can fetch it. Otherwise the pages show their text.
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh
need_packages doxygen:doxygen dot:graphviz awk:mawk

mkdir -p build/docs
version=$(sed -n 's/^project(onu_mng VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
printf '@INCLUDE = docs/site/Doxyfile\nPROJECT_NUMBER = %s\n' "$version" | doxygen -

drawing=build/docs/mermaid/package/dist/mermaid.min.js
if [ ! -f $drawing ] && command -v npm >/dev/null; then
    mkdir -p build/docs/mermaid
    (cd build/docs/mermaid && npm pack --silent mermaid@10.9.3 >/dev/null && tar xzf mermaid-*.tgz) || true
fi
[ ! -f $drawing ] || cp $drawing build/docs/html/
echo "build/docs/html/index.html"
