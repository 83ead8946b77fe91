# Writes the formats in FOLDER as C++ texts to OUTPUT.
set(text "#include \"cli/schemas.h\"\n\nnamespace cli {\n\nconst std::array<Schema, 5> kSchemas = {{\n")
foreach(name model change-log snapshot event history)
    file(READ ${FOLDER}/${name}.json content)
    # In lines: a compiler takes texts of 64 KiB at least, and no more for sure.
    string(REPLACE "\n" "\n)json\"\n     R\"json(" content "${content}")
    string(APPEND text "    {\"${name}\",\n     R\"json(${content})json\"},\n")
endforeach()
string(APPEND text "}};\n\n}  // namespace cli\n")
file(WRITE ${OUTPUT} "${text}")
