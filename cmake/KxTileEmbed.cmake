# kxtile_embed_folder(<target> <folder>)
# Puts every file below a folder into a target, as the table KxTileHost::Serve::kEmbeddedFiles.
function(kxtile_embed_folder target folder)
    file(GLOB_RECURSE files CONFIGURE_DEPENDS RELATIVE "${folder}" "${folder}/*")
    list(SORT files)
    set(bytes "    .section .rodata\n")
    set(declared "")
    set(entries "")
    set(depends "")
    set(number 0)
    foreach(file ${files})
        set(symbol "kxtileEmbedded${number}")
        string(APPEND bytes
            "    .balign 16\n    .global ${symbol}\n    .hidden ${symbol}\n"
            "    .global ${symbol}End\n    .hidden ${symbol}End\n"
            "${symbol}:\n    .incbin \"${folder}/${file}\"\n${symbol}End:\n    .byte 0\n")
        string(APPEND declared
            "extern \"C\" const unsigned char ${symbol}[];\n"
            "extern \"C\" const unsigned char ${symbol}End[];\n")
        string(APPEND entries "    {\"${file}\", ${symbol}, ${symbol}End},\n")
        list(APPEND depends "${folder}/${file}")
        math(EXPR number "${number} + 1")
    endforeach()
    string(APPEND bytes "    .section .note.GNU-stack, \"\", %progbits\n")
    set(assembler "${CMAKE_CURRENT_BINARY_DIR}/${target}_embedded.S")
    set(table "${CMAKE_CURRENT_BINARY_DIR}/${target}_embedded.cpp")
    file(CONFIGURE OUTPUT "${assembler}" CONTENT "${bytes}" @ONLY)
    file(CONFIGURE OUTPUT "${table}" @ONLY CONTENT
"// Made by cmake/KxTileEmbed.cmake.
#include <cstddef>
${declared}
namespace KxTileHost::Serve {
struct EmbeddedFile
{
    const char* m_name;
    const unsigned char* m_begin;
    const unsigned char* m_end;
};
extern const EmbeddedFile kEmbeddedFiles[] = {
${entries}};
extern const std::size_t kEmbeddedFileCount = ${number};
} // namespace KxTileHost::Serve
")
    set_source_files_properties("${assembler}" PROPERTIES OBJECT_DEPENDS "${depends}")
    target_sources(${target} PRIVATE "${assembler}" "${table}")
endfunction()
