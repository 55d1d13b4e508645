# velora_jar(target jar ROOT dir... [CLASSPATH jar...] [FILES dir] [HEADERS dir] [RELEASE n])
# compiles every source under the roots, for Java 8 unless told otherwise, and packs the classes
# with what lies under FILES. HEADERS receives the C headers of native methods, one for each class
# that has any.
function(velora_jar target jar)
  cmake_parse_arguments(JAR "" "FILES;HEADERS;RELEASE" "ROOT;CLASSPATH" ${ARGN})
  set(sources)
  foreach(root IN LISTS JAR_ROOT)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${root}/*.java)
    list(APPEND sources ${found})
  endforeach()
  set(classes ${CMAKE_CURRENT_BINARY_DIR}/${target})
  # classfile: an API compiled for a later Java than ours is fine to compile against.
  set(compile ${Java_JAVAC_EXECUTABLE} -encoding UTF-8 -g -Werror
    -Xlint:all,-options,-processing,-serial,-classfile -d ${classes})
  set(release 8)
  if(JAR_RELEASE)
    set(release ${JAR_RELEASE})
  endif()
  list(APPEND compile --release ${release})
  if(JAR_CLASSPATH)
    list(JOIN JAR_CLASSPATH ":" classpath)
    list(APPEND compile -cp ${classpath})
  endif()
  set(headers)
  if(JAR_HEADERS)
    list(APPEND compile -h ${JAR_HEADERS})
    foreach(source IN LISTS sources)
      file(STRINGS ${source} natives REGEX " native .*\\(")
      if(natives)
        cmake_path(RELATIVE_PATH source BASE_DIRECTORY ${JAR_ROOT} OUTPUT_VARIABLE name)
        string(REGEX REPLACE "\\.java$" ".h" name ${name})
        string(REPLACE "/" "_" name ${name})
        list(APPEND headers ${JAR_HEADERS}/${name})
      endif()
    endforeach()
  endif()
  set(pack ${Java_JAR_EXECUTABLE} --create --file ${jar} -C ${classes} .)
  set(files)
  if(JAR_FILES)
    file(GLOB_RECURSE files CONFIGURE_DEPENDS ${JAR_FILES}/*)
    list(APPEND pack -C ${JAR_FILES} .)
  endif()
  add_custom_command(OUTPUT ${jar}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${classes} ${JAR_HEADERS}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${classes} ${JAR_HEADERS}
    COMMAND ${compile} ${sources}
    COMMAND ${pack}
    BYPRODUCTS ${headers}
    DEPENDS ${sources} ${files} ${JAR_CLASSPATH}
    COMMENT "Packing ${jar}" VERBATIM)
  add_custom_target(${target} ALL DEPENDS ${jar})
endfunction()
