# qvs-jni-headers: the headers of the JDK whose compiler is on the path. Only headers: nothing links a virtual machine.
find_package(Java 17 REQUIRED COMPONENTS Development)
file(REAL_PATH "${Java_JAVAC_EXECUTABLE}" javac)
cmake_path(GET javac PARENT_PATH jdk_bin)
find_path(QVS_JNI_INCLUDE_DIR jni.h HINTS ${jdk_bin}/../include REQUIRED)
find_path(QVS_JNI_MD_INCLUDE_DIR jni_md.h HINTS ${QVS_JNI_INCLUDE_DIR}/linux REQUIRED)

add_library(qvs-jni-headers INTERFACE)
target_include_directories(qvs-jni-headers SYSTEM INTERFACE ${QVS_JNI_INCLUDE_DIR} ${QVS_JNI_MD_INCLUDE_DIR})
