# SPDX-License-Identifier: MIT
# Flags that every target of this tree shares: tavrin_compile(<target>).

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

# Directory-wide, so that the generated targets that compile each public header alone get them too.
add_compile_options(-Wall -Wextra -Wconversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # It takes inlined insertions into std::string for copies that overlap.
  add_compile_options(-Wno-restrict)
endif()
if(TAVRIN_WERROR)
  add_compile_options(-Werror)
endif()
if(TAVRIN_SANITIZE)
  add_compile_options(-fsanitize=${TAVRIN_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TAVRIN_SANITIZE})
  if(TAVRIN_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=all)
  endif()
endif()
if(TAVRIN_FUZZ)
  # Lets libFuzzer, which the targets link, see the coverage of all code.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(TAVRIN_COVERAGE)
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()

function(tavrin_compile target)
  target_compile_features(${target} PUBLIC cxx_std_20)
endfunction()
