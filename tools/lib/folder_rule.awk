# Reads the table of folders in docs/architecture.md, then "FILE:LINE:#include ..." lines, and says
# which of these the table does not allow. A folder may always include itself.

function folder_of(path) { sub(/\/[^\/]*$/, "", path); return path }

FNR == NR {
    if (split($0, cells, "|") < 5 || cells[2] !~ /`src\//)
        next
    folder = cells[2]
    gsub(/[` ]|src\//, "", folder)
    rules[folder] = " " cells[4] " "
    gsub(/`/, " ", rules[folder])
    next
}

{
    folder = folder_of($1)
    sub(/^src\//, "", folder)
    include = $3
    sub(/^ *# *include *[<"]/, "", include)
    sub(/[>"].*/, "", include)
    meets_library = include ~ /(^|\/)RtMidi\.h$/
    if (meets_library && folder != "midi/backend")
        wrong("is not the folder that meets the MIDI library")
    if (!(folder in rules) && folder != "app/modules")
        wrong("stands in no row of the table")
    else if (rules[folder] ~ / all / || folder == "app/modules")
        next
    else if ($3 ~ /</)
        known = include ~ /^Q/ ? "Qt" : ""
    else
        known = folder_of(include)
    if (known != "" && known != folder && rules[folder] !~ " " known " ")
        wrong("may not know " known)
}

function wrong(reason) { print $1 ":" $2 ": " folder " " reason; failed = 1 }

END { exit failed }
