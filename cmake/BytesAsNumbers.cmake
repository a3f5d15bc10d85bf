# Writes the bytes of a file as numbers for an array in C++:
#
#   cmake -D INPUT=FILE -D OUTPUT=FILE -P BytesAsNumbers.cmake
file(READ "${INPUT}" bytes HEX)
string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
file(WRITE "${OUTPUT}" "${bytes}\n")
