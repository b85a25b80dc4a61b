# "tmxact events", where SOCI and its backends for SQLite and PostgreSQL are there.
#
# SOCI's package for CMake isn't in all of its packages, so its parts are looked for one by one.
find_path(SOCI_INCLUDE_DIR soci/soci.h DOC "The folder of SOCI's headers")
find_library(SOCI_CORE_LIBRARY soci_core DOC "SOCI")
find_library(SOCI_SQLITE3_LIBRARY soci_sqlite3 DOC "SOCI's backend for SQLite")
find_library(SOCI_POSTGRESQL_LIBRARY soci_postgresql DOC "SOCI's backend for PostgreSQL")
find_path(SQLITE3_INCLUDE_DIR sqlite3.h DOC "The folder of SQLite's header, which SOCI's wants")
find_path(LIBPQ_INCLUDE_DIR libpq-fe.h PATH_SUFFIXES postgresql
          DOC "The folder of libpq's headers, which SOCI's want")
set(tmxact_events_parts SOCI_INCLUDE_DIR SOCI_CORE_LIBRARY SOCI_SQLITE3_LIBRARY
    SOCI_POSTGRESQL_LIBRARY SQLITE3_INCLUDE_DIR LIBPQ_INCLUDE_DIR)
mark_as_advanced(${tmxact_events_parts})
set(tmxact_events_missing "")
foreach(part ${tmxact_events_parts})
  if(NOT ${part})
    list(APPEND tmxact_events_missing ${part})
  endif()
endforeach()

set(tmxact_events_default ON)
if(tmxact_events_missing)
  set(tmxact_events_default OFF)
endif()
option(TMXACTIONS_EVENTS "Build the commands tmxact events (SOCI with SQLite and PostgreSQL)"
       ${tmxact_events_default})
if(NOT TMXACTIONS_EVENTS)
  if(tmxact_events_missing)
    message(STATUS "tmxact is built without its events commands: they need SOCI and its backends "
                   "for SQLite and PostgreSQL (Debian: libsoci-dev libsqlite3-dev libpq-dev)")
  endif()
  return()
endif()
if(tmxact_events_missing)
  message(FATAL_ERROR "TMXACTIONS_EVENTS needs SOCI and its backends for SQLite and PostgreSQL "
                      "(Debian: libsoci-dev libsqlite3-dev libpq-dev). "
                      "Not found: ${tmxact_events_missing}")
endif()

include(${CMAKE_CURRENT_LIST_DIR}/sql/embed.cmake)
set(tmxact_sql_dir ${PROJECT_BINARY_DIR}/generated/sql)
tmxact_embed_sql(${tmxact_sql_dir}/event_schema.cpp ${tmxact_sql_dir}
  ${CMAKE_CURRENT_LIST_DIR}/sql/001-events.sql)

set(tmxact_events_sources
  tmxact/event_chart.cpp
  tmxact/event_database.cpp
  tmxact/event_row.cpp
  tmxact/events_command.cpp
  tmxact/events_export.cpp
  tmxact/events_import.cpp
  tmxact/events_list.cpp
  tmxact/events_stats.cpp
  tmxact/time_text.cpp
)
target_sources(tmxact PRIVATE ${tmxact_events_sources} ${tmxact_sql_dir}/event_schema.cpp)
if(TMXACTIONS_SANITIZE MATCHES undefined)
  # The check of a class's type asks for types that SOCI's libraries don't show.
  set_source_files_properties(${tmxact_events_sources} PROPERTIES
    COMPILE_OPTIONS -fno-sanitize=vptr)
endif()
target_compile_definitions(tmxact PRIVATE TMXACT_EVENTS)
target_include_directories(tmxact PRIVATE ${CMAKE_CURRENT_LIST_DIR})
target_include_directories(tmxact SYSTEM PRIVATE
  ${SOCI_INCLUDE_DIR} ${SQLITE3_INCLUDE_DIR} ${LIBPQ_INCLUDE_DIR})
find_package(Threads REQUIRED)
target_link_libraries(tmxact PRIVATE Threads::Threads
  ${SOCI_SQLITE3_LIBRARY} ${SOCI_POSTGRESQL_LIBRARY} ${SOCI_CORE_LIBRARY})
install(DIRECTORY ${tmxact_sql_dir}/ DESTINATION "${CMAKE_INSTALL_DATADIR}/tmxactions/sql"
        FILES_MATCHING PATTERN "*.sql")
