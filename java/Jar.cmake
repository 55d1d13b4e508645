# velora_jar(target jar ROOT dir [EXTRA dir...] [CLASSPATH jar...] [FILES dir] [HEADERS dir])
# compiles every source under ROOT (and EXTRA: against, but not into the jar) for Java 8 and packs
# the classes, with what lies under FILES. HEADERS receives the C headers of native methods.
function(velora_jar target jar)
  cmake_parse_arguments(JAR "" "ROOT;FILES;HEADERS;RELEASE" "CLASSPATH;EXTRA;DEPENDS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${JAR_ROOT}/*.java)
  set(extra)
  foreach(dir IN LISTS JAR_EXTRA)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${dir}/*.java)
    list(APPEND extra ${found})
  endforeach()
  set(files)
  set(pack_files)
  if(JAR_FILES)
    file(GLOB_RECURSE files CONFIGURE_DEPENDS ${JAR_FILES}/*)
    set(pack_files -C ${JAR_FILES} .)
  endif()
  if(NOT JAR_RELEASE)
    set(JAR_RELEASE 8)
  endif()
  set(work ${CMAKE_CURRENT_BINARY_DIR}/${target})
  set(stubs ${CMAKE_CURRENT_BINARY_DIR}/${target}.stubs)
  set(options --release ${JAR_RELEASE} -encoding UTF-8 -g -Xlint:all,-options,-processing,-serial -Werror)
  list(JOIN JAR_CLASSPATH ":" classpath)
  set(compile_extra COMMAND true)
  if(extra)
    set(compile_extra COMMAND ${Java_JAVAC_EXECUTABLE} ${options} -d ${stubs} ${extra})
  endif()
  set(headers)
  if(JAR_HEADERS)
    set(headers -h ${JAR_HEADERS})
  endif()
  add_custom_command(OUTPUT ${jar}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${work} ${stubs} ${JAR_HEADERS}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${work} ${stubs} ${JAR_HEADERS}
    ${compile_extra}
    COMMAND ${Java_JAVAC_EXECUTABLE} ${options} ${headers} -cp ${stubs}:${classpath} -d ${work} ${sources}
    COMMAND ${Java_JAR_EXECUTABLE} --create --file ${jar} -C ${work} . ${pack_files}
    DEPENDS ${sources} ${extra} ${files} ${JAR_CLASSPATH} ${JAR_DEPENDS}
    COMMENT "Packing ${jar}" VERBATIM)
  add_custom_target(${target} ALL DEPENDS ${jar})
endfunction()
