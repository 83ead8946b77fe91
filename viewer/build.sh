#!/bin/sh
# build.sh FOLDER: puts the page there, ready for any web server, with a .gz beside each file. Libraries come from the
# package registry as the lock file names them, and are kept in FOLDER.npm for the next time.
set -eu
here=$(CDPATH="" cd -- "$(dirname -- "$0")" && pwd)
folder=$1
packages=$folder.npm

command -v npm >/dev/null || {
    echo "the page is not built: npm is not there" >&2
    exit 1
}
mkdir -p "$packages"
if ! cmp -s "$here/package-lock.json" "$packages/done"; then
    cp -- "$here/package.json" "$here/package-lock.json" "$here/.npmrc" "$packages/"
    (cd "$packages" && npm ci --omit=dev --loglevel=error </dev/null >&2) || {
        echo "the page is not built: npm could not fetch its libraries" >&2
        exit 1
    }
    cp -- "$here/package-lock.json" "$packages/done"
fi

# Whoever looks meanwhile sees the page of before, or none.
next=$folder.next
rm -rf -- "$next"
mkdir -p "$next/vendor"
cp -- "$here"/*.html "$here"/*.css "$here"/*.js "$here"/*.svg "$next/"
rm -f -- "$next"/*.config.js
# Comments are for who reads the source, and a third of its size: whole lines of them, blocks, and types in between.
for file in "$next"/*.js "$next"/*.css; do
    awk '/^ *\/\*\*?/ && !/\*\// {block = 1}
        !block && !/^ *\/\// && !/^ *\/\*.*\*\/$/ {gsub(/\/\*\* @[^*]*\*\/ ?/, ""); sub(/^ +/, ""); sub(/ \/\/ .*$/, ""); if ($0 != "") print}
        /\*\/$/ {block = 0}' "$file" >"$file.next"
    mv -- "$file.next" "$file"
done
cp -- "$packages/node_modules/htm/preact/standalone.module.js" "$next/vendor/htm-preact.js"
# The chart, as the module that the history imports.
{
    cat -- "$packages/node_modules/uplot/dist/uPlot.iife.min.js"
    echo 'export default uPlot;'
} >"$next/vendor/uplot.js"
cat -- "$packages/node_modules/uplot/dist/uPlot.min.css" >"$next/vendor/uplot.css"
find "$next" -type f -exec gzip -9 -n -k {} +
rm -rf -- "$folder"
mv -- "$next" "$folder"
