# Writes a C++ source with the content of files: cmake -DOUT=FILE "-DPARTS=name=path;..."
# -P embed.cmake. Each part becomes a std::string_view of its name.
set(text "#include \"pages/parts.h\"\n\nnamespace wgr {\n")
foreach(part IN LISTS PARTS)
  string(REGEX MATCH "^([^=]+)=(.*)$" _ "${part}")
  set(name ${CMAKE_MATCH_1})
  set(path "${CMAKE_MATCH_2}")
  if("${path}" STREQUAL "")
    string(APPEND text "\nconst std::string_view ${name};\n")
    continue()
  endif()
  file(READ "${path}" hex HEX)
  string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${hex}")
  string(APPEND text "\nstatic constexpr char bytes_of_${name}[] = {\n${bytes}};\n"
         "const std::string_view ${name}(bytes_of_${name}, sizeof bytes_of_${name});\n")
endforeach()
file(WRITE "${OUT}" "${text}\n}  // namespace wgr\n")
