# Switches of the build, and the flags that every hand-written target takes.
if(PROJECT_IS_TOP_LEVEL)
  set(quorva_top ON)
else()
  set(quorva_top OFF)
endif()
option(QUORVA_BUILD_TOOLS "Build the quorva program" ${quorva_top})
option(QUORVA_BUILD_TESTS "Build the tests" ${quorva_top})
option(QUORVA_BUILD_BENCH "Build the benchmarks" OFF)
option(QUORVA_BUILD_FUZZ "Build the libFuzzer targets (clang only)" OFF)
option(QUORVA_SANITIZE "Build everything with ASan and UBSan" OFF)
option(QUORVA_WERROR "Treat warnings of hand-written code as errors" OFF)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()
find_program(QUORVA_CCACHE ccache)
if(QUORVA_CCACHE AND quorva_top)
  set(CMAKE_C_COMPILER_LAUNCHER ${QUORVA_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${QUORVA_CCACHE})
endif()

if(QUORVA_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
if(QUORVA_BUILD_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

function(quorva_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion
    # GCC 12 takes std::string's operator+ for an overlapping copy.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  if(QUORVA_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# The usual hardening of release builds; never mixed with sanitizers.
function(quorva_harden target)
  if(NOT QUORVA_SANITIZE)
    target_compile_options(${target} PRIVATE
      $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>
      -fstack-protector-strong)
    target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)
  endif()
endfunction()
