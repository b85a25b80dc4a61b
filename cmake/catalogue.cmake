# tmxactions_generate(TARGET OUTPUT FAMILY...)
#
# Adds TARGET, which makes from the tables of the families what follows from them (see
# src/actions/generator). Sets TARGET_SOURCES to the sources that are made, TARGET_TEMPLATES to those
# of them that hold the classes of templates, TARGET_HEADERS to the public headers, and
# TARGET_VERSION_SCRIPT. A mistake in a table stops the build.
function(tmxactions_generate target output)
    set(generator ${PROJECT_SOURCE_DIR}/src/actions/generator)
    set(tables)
    set(sources)
    set(templates)
    set(made
        ${output}/include/tmxactions/constants.h ${output}/include/tmxactions/typed.h
        ${output}/include/tmxactions/actions.def ${output}/exports.txt ${output}/exports.map
        ${output}/src/catalogue/static_table.inc ${output}/src/actions/families.h)
    foreach(family IN LISTS ARGN)
        list(APPEND tables ${PROJECT_SOURCE_DIR}/src/actions/${family}.table)
        list(APPEND sources
            ${output}/src/actions/${family}.cpp ${output}/src/frame/typed_${family}.cpp)
        list(APPEND templates ${output}/src/actions/${family}_templates.cpp)
        list(APPEND made ${output}/src/actions/${family}.h)
    endforeach()
    list(APPEND sources ${templates})
    set(stamp ${output}/catalogue.stamp)
    add_custom_command(
        OUTPUT ${stamp}
        BYPRODUCTS ${made} ${sources}
        COMMAND ${Python3_EXECUTABLE} -B ${generator}/generate.py
            --enumerations ${PROJECT_SOURCE_DIR}/src/actions/enumerations.table
            --functions ${PROJECT_SOURCE_DIR}/include/tmxactions/functions.h
            --output ${output} ${tables}
        COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
        DEPENDS ${generator}/generate.py ${generator}/tables.py ${generator}/c_interface.py
            ${generator}/cxx_classes.py ${tables}
            ${PROJECT_SOURCE_DIR}/src/actions/enumerations.table
            ${PROJECT_SOURCE_DIR}/include/tmxactions/functions.h
        COMMENT "Making the classes and declarations of the actions"
        VERBATIM)
    add_custom_target(${target} DEPENDS ${stamp})
    set_source_files_properties(${sources} ${made} PROPERTIES GENERATED ON)
    set(${target}_SOURCES ${sources} PARENT_SCOPE)
    set(${target}_TEMPLATES ${templates} PARENT_SCOPE)
    list(FILTER made INCLUDE REGEX "/include/")
    set(${target}_HEADERS ${made} PARENT_SCOPE)
    set(${target}_VERSION_SCRIPT ${output}/exports.map PARENT_SCOPE)
endfunction()
