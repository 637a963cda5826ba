# Compiler settings shared by every target: GNUstep Base for Foundation and the
# Objective-C runtime, warnings as errors in our own code, optional sanitizers.

find_package(PkgConfig REQUIRED)

# GNUstep Base: headers are system headers (their warnings are not ours).
add_library(gnustep_base INTERFACE)
target_include_directories(gnustep_base SYSTEM INTERFACE /usr/include/GNUstep)
target_compile_definitions(gnustep_base INTERFACE
  GNUSTEP GNUSTEP_BASE_LIBRARY=1 GNU_RUNTIME=1 _NATIVE_OBJC_EXCEPTIONS)
target_compile_options(gnustep_base INTERFACE
  $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-fexceptions -fobjc-exceptions -fconstant-string-class=NSConstantString>)
target_link_libraries(gnustep_base INTERFACE gnustep-base objc pthread)

# Warnings for code of this project.
add_library(qvr_warnings INTERFACE)
target_compile_options(qvr_warnings INTERFACE
  -Wall -Wextra -Werror -Wno-unused-parameter
  $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-Wno-import>
  $<$<COMPILE_LANGUAGE:OBJCXX>:-Wno-subobject-linkage>)

if(QVR_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

# Where the built shared libraries land, so the host finds them beside each other.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

# Fuzzing builds (scripts/fuzz configures one with clang): libFuzzer's coverage and both
# sanitizers in every target; clang's Objective-C on the GCC runtime that GNUstep Base is
# built for, whose headers clang finds through a folder holding only GCC's objc/. Not the
# "function" check: entry points found by name are called through the plugin's own
# declarations of them, the way the host's interface works.
option(QVR_FUZZ "Build the fuzz targets for libFuzzer (clang)" OFF)
if(QVR_FUZZ)
  execute_process(COMMAND gcc -print-file-name=include/objc OUTPUT_VARIABLE QVR_GCC_OBJC
                  OUTPUT_STRIP_TRAILING_WHITESPACE)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/objc-runtime)
  file(CREATE_LINK ${QVR_GCC_OBJC} ${CMAKE_BINARY_DIR}/objc-runtime/objc SYMBOLIC)
  include_directories(SYSTEM ${CMAKE_BINARY_DIR}/objc-runtime)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined
    -fno-sanitize=function -fno-omit-frame-pointer -Wno-unknown-warning-option -Wno-mismatched-parameter-types
    $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-fobjc-runtime=gcc>)
  add_link_options(-fsanitize=address,undefined)
endif()
