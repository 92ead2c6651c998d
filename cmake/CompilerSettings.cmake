# One set of flags for every target, so that the precompiled header can be shared.
set(VENNIC_SANITIZE "" CACHE STRING "Sanitizers, e.g. address,undefined")
option(VENNIC_COVERAGE "Instrument for source-based coverage" OFF)

add_compile_options(-Wall -Wextra -Wpedantic -Werror -fno-omit-frame-pointer)
add_compile_definitions(QT_NO_CAST_FROM_ASCII QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII QT_NO_FOREACH)
add_link_options(-fuse-ld=mold)

if(NOT VENNIC_SANITIZE STREQUAL "")
  add_compile_options(-fsanitize=${VENNIC_SANITIZE} -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VENNIC_SANITIZE})
  add_compile_definitions(VENNIC_SANITIZED)
else()
  add_compile_options(-fstack-protector-strong)
  add_link_options(-Wl,-z,relro,-z,now)
endif()
if(VENNIC_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link) # the libraries under test say which way they went
endif()
if(VENNIC_COVERAGE)
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(CCACHE ccache)
if(CCACHE)
  # The sloppiness lets ccache serve objects that use the precompiled header.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
      CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${CCACHE})
  add_compile_options("SHELL:-Xclang -fno-pch-timestamp")
endif()
