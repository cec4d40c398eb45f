# Writes OUTPUT, a source file that carries the bytes of FILE, a dictionary whose name is its number.
cmake_path(GET FILE STEM number)
file(READ ${FILE} bytes HEX)
string(REGEX REPLACE "(................................................)" "\\1\n" bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
file(WRITE ${OUTPUT} "// Made by EmbedDictionary.cmake; changes here are lost.
#include \"platform/stores/sqlite/PackedText.h\"

namespace CommonServices::Sqlite {

namespace {

constexpr unsigned char kBytes[] = {
${bytes}};

}  // namespace

PackDictionary OwnDictionary() {
    return {${number}, {reinterpret_cast<const char*>(kBytes), sizeof kBytes}};
}

}  // namespace CommonServices::Sqlite
")
