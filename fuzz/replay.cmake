# Adds for each fuzzer a program fuzz_replay_<name>, built by any compiler, and a test that walks the
# kept corpus with it. Included where the tests are added.
include(${CMAKE_CURRENT_LIST_DIR}/names.cmake)

add_library(fuzz_replay_shared OBJECT
    ${CMAKE_CURRENT_LIST_DIR}/oracle.cpp
    ${CMAKE_CURRENT_LIST_DIR}/standalone_main.cpp)
target_link_libraries(fuzz_replay_shared PRIVATE tmxactions_objects)
foreach(name ${TMXACTIONS_FUZZER_NAMES})
    add_executable(fuzz_replay_${name}
        ${CMAKE_CURRENT_LIST_DIR}/${name}_fuzzer.cpp $<TARGET_OBJECTS:fuzz_replay_shared>)
    target_link_libraries(fuzz_replay_${name} PRIVATE tmxactions_objects)
    add_test(NAME fuzz_replay_${name}
        COMMAND fuzz_replay_${name} ${CMAKE_CURRENT_LIST_DIR}/corpus/${name})
    set_tests_properties(fuzz_replay_${name} PROPERTIES TIMEOUT 900)
endforeach()
