# Switches of the build, and the flags that every hand-written target takes.
if(PROJECT_IS_TOP_LEVEL)
  set(quorva_top ON)
else()
  set(quorva_top OFF)
endif()
option(QUORVA_BUILD_TOOLS "Build the quorva program" ${quorva_top})
option(QUORVA_BUILD_TESTS "Build the tests" ${quorva_top})
option(QUORVA_BUILD_PYTHON "Build the tree of the Python package" ${quorva_top})
set(QUORVA_PYTHON_DIR lib/python3/dist-packages CACHE STRING "Where the Python package is installed")
option(QUORVA_BUILD_BENCH "Build the benchmarks" OFF)
option(QUORVA_BUILD_FUZZ "Build the libFuzzer targets (clang only)" OFF)
option(QUORVA_SANITIZE "Build everything with ASan and UBSan" OFF)
option(QUORVA_WERROR "Treat warnings of hand-written code as errors" OFF)
set(QUORVA_L3C "" CACHE FILEPATH "Description compiler to use; empty: the one that is built here")

# A release archive has the generated sources inside, and needs no description compiler.
set(quorva_has_sources OFF)
set(quorva_generated ${PROJECT_BINARY_DIR}/generated)
if(EXISTS ${PROJECT_SOURCE_DIR}/generated/src/Registry.cpp)
  set(quorva_has_sources ON)
  set(quorva_generated ${PROJECT_SOURCE_DIR}/generated)
elseif(CMAKE_CROSSCOMPILING AND NOT QUORVA_L3C AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  message(FATAL_ERROR "The codecs are made by l3c, a program that has to run on this machine. Build it here "
                      "(cmake -S . -B host && cmake --build host --target l3c) and give its path as QUORVA_L3C.")
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Programs in the build tree find the library beside them, wherever the tree lies.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
if(quorva_top AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
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

# A program of this project, whatever those around it do without.
function(quorva_full_language target)
  target_compile_options(${target} PUBLIC -fexceptions -frtti)
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
