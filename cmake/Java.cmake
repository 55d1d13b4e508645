# The JDK that the natives, the bridge and the jars are built against.
find_package(Java 17 REQUIRED COMPONENTS Development)
get_filename_component(VELORA_JDK_BIN ${Java_JAVAC_EXECUTABLE} REALPATH)
get_filename_component(VELORA_JDK_BIN ${VELORA_JDK_BIN} DIRECTORY)
get_filename_component(VELORA_JDK ${VELORA_JDK_BIN} DIRECTORY)
set(VELORA_JDK ${VELORA_JDK} CACHE PATH "JDK that real-JVM tests run on")

add_library(velora_jni INTERFACE)
target_include_directories(velora_jni SYSTEM INTERFACE ${VELORA_JDK}/include ${VELORA_JDK}/include/linux)
