# Shows Doxygen the comment at the head of a header: as the description of the file and of each class in it that has no
# comment of its own. Keeps the numbers of the lines.
FNR == 1 { print "/// @file"; head = 1; next }
head && /^\/\// { print "/" $0; next }
{ head = 0 }
/^(class|struct) / && (!/;$/ || /[{]/) && before !~ /^(\/\/|template)/ {
    printf "/** @copydoc %s */ ", substr(FILENAME, match(FILENAME, /[^\/]*\/[^\/]*$/))
}
{ before = $0; print }
