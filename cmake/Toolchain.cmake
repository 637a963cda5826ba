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
