# Writes a drawing that needs no other file: its style sheet becomes a part of it.
#
#   cmake -D DRAWING=FILE.svg -D STYLE=FILE.css -D OUTPUT=FILE.svg -P EmbedStyle.cmake
file(READ "${DRAWING}" drawing)
file(READ "${STYLE}" style)
string(REGEX REPLACE "<\\?xml-stylesheet [^>]*>\n" "" drawing "${drawing}")
string(FIND "${drawing}" "  <title>" title)
string(SUBSTRING "${drawing}" 0 ${title} head)
string(SUBSTRING "${drawing}" ${title} -1 rest)
file(WRITE "${OUTPUT}" "${head}  <style>\n${style}</style>\n${rest}")
