# Prepares a source of the reference for Doxygen: comments of C headers become its comments, the comment at the top of a
# header describes the file, and links and headings of Markdown become its references. FILENAME tells which it is.
function slug(title) {
    gsub(/[`*]/, "", title)
    title = tolower(title)
    gsub(/[^a-z0-9_ -]/, "", title)
    gsub(/ /, "-", title)
    return title
}
function stem(path) { sub(/.*\//, "", path); sub(/\.md$/, "", path); return path }
BEGIN { page = stem(ARGV[1]); is_markdown = ARGV[1] ~ /\.md$/ }

# A comment documents the declarations below it, up to the next blank line: repeats it before each.
function header_line(line) {
    if (FNR == 1 && (sub(/^\/\/\/ /, "/// @file\n/// ", line) || sub(/^\/\* /, "/** @file\n * ", line))) {
        in_comment = line ~ /^\/\*/ && line !~ /\*\/$/
        print line
        return
    }
    if (line !~ /^ *\/?[\/*]/) sub(/ \/\* /, " /**< ", line)
    else gsub(/<[a-z0-9-]+>/, "\\\\&", line)
    if (line !~ /^ *\/\* ---- /) sub(/^ *\/\* /, "&\001", line)
    sub(/\/\* \001/, "/** ", line)
    if (in_comment || line ~ /^ *\/\/\/ ?[^<]/ || line ~ /^ *\/\*\*/) {
        comment = was_comment ? comment "\n" line : line
        was_comment = 1
        in_comment = (in_comment || line ~ /\/\*\*/) && line !~ /\*\//
        may_repeat = 0
    } else {
        starts = !was_comment && may_repeat && !in_declaration && line !~ /^ *(#|}|\/\/|\/\*|public:|private:|protected:|friend)/
        if (line ~ /^ *$/ || line ~ /^ *(#|}|public:|private:|protected:)/) comment = may_repeat = in_declaration = 0
        else {
            if (starts && line !~ /\/\/\//) print comment
            sub(/\/\/ .*/, "", line)
            if (line ~ /{ *$/ && line !~ /^ *enum/) may_repeat = comment = 0
            else if (was_comment && comment) may_repeat = 1
            in_declaration = line !~ /[;}] *(\/\/\/.*)?$/ && line !~ /^ *#/
        }
        was_comment = 0
    }
    print line
}
!is_markdown { header_line($0); next }

/^```mermaid/ { print "@htmlonly<pre class=\"mermaid\">"; in_diagram = 1; next }
in_diagram && /^```/ { print "</pre>@endhtmlonly"; in_diagram = 0; next }
in_diagram { gsub(/&/, "\\&amp;"); gsub(/</, "\\&lt;"); gsub(/>/, "\\&gt;"); print; next }
/^```/ { in_code = !in_code; print; next }
in_code { print; next }
/^##+ / {
    level = $1; title = $0; sub(/^#+ /, "", title)
    print level " " title " {#" page "-" slug(title) "}"
    next
}
{
    line = $0; out = ""
    while (match(line, /\*\*`[^`]*`\*\*/))
        line = substr(line, 1, RSTART - 1) "<b>" substr(line, RSTART + 3, RLENGTH - 6) "</b>" substr(line, RSTART + RLENGTH)
    while (match(line, /\]\([^)]*\)/)) {
        target = substr(line, RSTART + 2, RLENGTH - 3)
        head = substr(line, 1, RSTART - 1)
        line = substr(line, RSTART + RLENGTH)
        if (target ~ /^#/) target = "#" page "-" substr(target, 2)
        else if (target ~ /\.md#/) { split(target, part, "#"); target = "#" stem(part[1]) "-" part[2] }
        else if (target ~ /\.md$/) target = target
        else if (target !~ /^https?:/) {
            sub(/^(\.\.\/)*/, "", target)
            if (target !~ /\.h$/ || target ~ /(posix|common\/|olt_host|exports)/) { # not part of the reference
                open = 0
                for (i = length(head); i > 0; --i) if (substr(head, i, 1) == "[") { open = i; break }
                out = out substr(head, 1, open - 1) substr(head, open + 1)
                continue
            }
        }
        out = out head "](" target ")"
    }
    print out line
}
