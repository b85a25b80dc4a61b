# tmxactions_fuzz_replay()
#
# Adds for each fuzzer a program fuzz_replay_<name>, built by any compiler, and a test that walks the
# kept corpus with it.
set(TMXACTIONS_FUZZER_NAMES text_narrow text_wide bytes date_time guid format)

function(tmxactions_fuzz_replay)
    set(folder ${PROJECT_SOURCE_DIR}/fuzz)
    add_library(fuzz_replay_shared OBJECT ${folder}/oracle.cpp ${folder}/standalone_main.cpp)
    target_link_libraries(fuzz_replay_shared PRIVATE tmxactions_objects)
    foreach(name ${TMXACTIONS_FUZZER_NAMES})
        add_executable(fuzz_replay_${name} ${folder}/${name}_fuzzer.cpp
            $<TARGET_OBJECTS:fuzz_replay_shared>)
        target_link_libraries(fuzz_replay_${name} PRIVATE tmxactions_objects)
        target_include_directories(fuzz_replay_${name} PRIVATE ${folder})
        add_test(NAME fuzz_replay_${name}
            COMMAND fuzz_replay_${name} ${folder}/corpus/${name})
        set_tests_properties(fuzz_replay_${name} PROPERTIES TIMEOUT 600)
    endforeach()
endfunction()
