# The few functions that every CMakeLists.txt of this tree is written with.

find_program(LUVIA_CCACHE ccache)
if(LUVIA_CCACHE)
    # A base directory of its own lets clones and worktrees share one cache.
    set(luvia_launcher ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${LUVIA_CCACHE})
    set(CMAKE_C_COMPILER_LAUNCHER ${luvia_launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${luvia_launcher})
endif()

find_package(Threads REQUIRED)

add_library(luvia_flags INTERFACE)
target_compile_options(luvia_flags INTERFACE -Wall -Wextra -Wshadow -Wundef -Wpointer-arith -Wcast-qual -Wvla -Wformat=2 -Wno-format-nonliteral)
# Records of callbacks are written with designated initializers; what is not named is null, and is meant to be.
target_compile_options(luvia_flags INTERFACE -Wno-missing-field-initializers -Wno-psabi)
if(LUVIA_WERROR)
    target_compile_options(luvia_flags INTERFACE -Werror)
endif()
# One function or datum a section, and only libraries that are called: a program carries what it uses.
target_compile_options(luvia_flags INTERFACE -ffunction-sections -fdata-sections -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/= -fmacro-prefix-map=../../=)
target_link_options(luvia_flags INTERFACE -Wl,--gc-sections -Wl,--as-needed)
if(LUVIA_SANITIZE)
    target_compile_options(luvia_flags INTERFACE -fsanitize=${LUVIA_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(luvia_flags INTERFACE -fsanitize=${LUVIA_SANITIZE})
    if(LUVIA_SANITIZE MATCHES undefined)
        target_compile_options(luvia_flags INTERFACE -fno-sanitize=vptr -fno-sanitize-recover=undefined)
    endif()
    if(LUVIA_SANITIZE MATCHES thread)
        target_compile_options(luvia_flags INTERFACE -O1)
    endif()
    if(LUVIA_FUZZ)
        target_compile_options(luvia_flags INTERFACE -fsanitize=fuzzer-no-link -O1)
    endif()
endif()

# luvia_code(<target>): flags of code that ships. No exception crosses or leaves it, and no run-time types.
function(luvia_code target)
    target_link_libraries(${target} PRIVATE luvia_flags)
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
    target_compile_options(${target} PRIVATE -fno-plt)  # a thin wrapper of a libc call is to cost no more than the call
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/Sources)
    set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
endfunction()

# luvia_sources(<out> <folder>...): every source and header below the folders, found again when one comes or goes.
function(luvia_sources out)
    set(found)
    foreach(folder IN LISTS ARGN)
        file(GLOB_RECURSE in_folder CONFIGURE_DEPENDS ${folder}/*.cpp ${folder}/*.c ${folder}/*.h)
        list(APPEND found ${in_folder})
    endforeach()
    set(${out} ${found} PARENT_SCOPE)
endfunction()

function(luvia_find_test_packages)
    find_package(GTest CONFIG QUIET)
    # The system's own interpreter: it is the one that sees the modules of Debian's packages.
    find_program(Python3_EXECUTABLE python3 PATHS /usr/bin NO_DEFAULT_PATH)
    find_package(Python3 COMPONENTS Interpreter QUIET)
    find_package(benchmark CONFIG QUIET)
    set(LUVIA_TESTS_FOUND FALSE)
    if(BUILD_TESTING AND GTest_FOUND AND Python3_FOUND)
        set(LUVIA_TESTS_FOUND TRUE)
    elseif(LUVIA_REQUIRE_TESTS)
        message(FATAL_ERROR "The tests need libgtest-dev, libgmock-dev and python3 (see Scripts/packages-test.txt)")
    endif()
    set(LUVIA_TESTS_FOUND ${LUVIA_TESTS_FOUND} PARENT_SCOPE)
    set(LUVIA_BENCHMARKS_FOUND ${benchmark_FOUND} PARENT_SCOPE)
    set(Python3_EXECUTABLE ${Python3_EXECUTABLE} PARENT_SCOPE)
endfunction()

# luvia_unit_tests(<name> [LABELS l...] [LINKS target...] SOURCES file...): one GoogleTest program, its cases in CTest.
# Label "unit" is given to all; add "thread" to what races (these run under TSan), "slow" to what takes seconds.
function(luvia_unit_tests name)
    cmake_parse_arguments(arg "" "" "LABELS;LINKS;SOURCES" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE luvia_flags testsupport ${arg_LINKS} luvia zo GTest::gmock GTest::gtest_main)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES PROPERTIES TIMEOUT 300)
    # gtest_discover_tests takes no list as a property: the labels are set once CTest knows the cases.
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${name}_labels.cmake
        "set_tests_properties(\${${name}_TESTS} PROPERTIES LABELS \"unit;${arg_LABELS}\")\n")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}_labels.cmake)
endfunction()

# luvia_program_test(<name> <script.py> [LABELS l...] [ARGS a...]): a Python script that runs a program as a user does.
function(luvia_program_test name script)
    cmake_parse_arguments(arg "" "" "LABELS;ARGS" ${ARGN})
    add_test(NAME ${name} COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/${script} ${arg_ARGS})
    set_tests_properties(${name} PROPERTIES LABELS "program;${arg_LABELS}" TIMEOUT 600
        ENVIRONMENT "PYTHONDONTWRITEBYTECODE=1;LUVIA_BUILD_DIR=${PROJECT_BINARY_DIR}")
endfunction()

# luvia_fuzz_target(<name> <source>): with libFuzzer a fuzzer; otherwise a test that replays Fuzz/corpus/<name>.
function(luvia_fuzz_target name source)
    add_executable(fuzz_${name} ${source})
    target_link_libraries(fuzz_${name} PRIVATE luvia_flags testsupport $<TARGET_NAME_IF_EXISTS:id3tagcore> $<TARGET_NAME_IF_EXISTS:inspectcore> luvia zo)
    target_include_directories(fuzz_${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/Tools)
    if(LUVIA_FUZZ)
        target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    else()
        target_sources(fuzz_${name} PRIVATE ${PROJECT_SOURCE_DIR}/Fuzz/Support/Replay.cpp)
        add_test(NAME fuzz.${name} COMMAND fuzz_${name} ${PROJECT_SOURCE_DIR}/Fuzz/corpus/${name})
        set_tests_properties(fuzz.${name} PROPERTIES LABELS "unit;fuzz" TIMEOUT 300)
    endif()
endfunction()
