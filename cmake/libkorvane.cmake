# The library. It exports exactly the names in abi/exported_names.txt and needs json-c, libcurl and the C++ runtime.
find_package(PkgConfig REQUIRED)
pkg_check_modules(JSON_C REQUIRED IMPORTED_TARGET json-c>=0.15)
find_package(CURL REQUIRED)

set(korvane_sources
    codec/face.cpp
    codec/human.cpp
    codec/model.cpp
    codec/people_counting.cpp
    codec/people_counting_statistics.cpp
    codec/record_layout.cpp
    codec/record_writer.cpp
    codec/reply_reader.cpp
    codec/vault.cpp
    dispatch/answer_rows.cpp
    dispatch/entry_points.cpp
    dispatch/face.cpp
    dispatch/face_filters.cpp
    dispatch/face_groups.cpp
    dispatch/human.cpp
    dispatch/ingest_steps.cpp
    dispatch/latest.cpp
    dispatch/model.cpp
    dispatch/people_counting.cpp
    dispatch/query_steps.cpp
    dispatch/refused_text.cpp
    dispatch/vault.cpp
    log/file_lock.cpp
    log/korvane_log.cpp
    store/face_requests.cpp
    store/human_requests.cpp
    store/model_requests.cpp
    store/people_counting_requests.cpp
    store/request_line.cpp
    store/send_restful_req.cpp
    store/store_exchange.cpp
    store/vault_requests.cpp
    util/coordinates.cpp
    util/fixed_text.cpp
    util/json_members.cpp
    util/six_decimals.cpp
    util/text_checks.cpp
    util/time_conversions.cpp
    util/url_encode.cpp
)
if(KORVANE_SESSION_HEADER AND NOT KORVANE_SESSION STREQUAL "host")
    message(FATAL_ERROR "KORVANE_SESSION_HEADER names the host's class: add -DKORVANE_SESSION=host")
endif()
if(KORVANE_SESSION STREQUAL "carried")
    list(APPEND korvane_sources platform/posix_session.cpp)
elseif(NOT KORVANE_SESSION STREQUAL "host")
    message(FATAL_ERROR "KORVANE_SESSION is '${KORVANE_SESSION}'; expected carried or host")
endif()

# The linker's version script is made from the checked-in list of names, so there is one list.
set(export_list ${PROJECT_SOURCE_DIR}/abi/exported_names.txt)
set(export_map ${PROJECT_BINARY_DIR}/libkorvane.map)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${export_list})
file(STRINGS ${export_list} exported_names REGEX "^_Z")
set(export_text "{\n  global:\n")
foreach(line IN LISTS exported_names)
    string(REGEX REPLACE " .*$" "" name "${line}")
    string(APPEND export_text "    ${name};\n")
endforeach()
file(WRITE ${export_map} "${export_text}  local: *;\n};\n")

add_library(korvane SHARED ${korvane_sources})
set_target_properties(korvane PROPERTIES SOVERSION 0)
target_include_directories(korvane PUBLIC include PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(korvane PRIVATE PkgConfig::JSON_C CURL::libcurl)
# Calls between the library's own functions bind inside it: a host function of the same name, url_encode say, can never
# take one's place.
target_compile_options(korvane PRIVATE -fno-semantic-interposition)
target_link_options(korvane PRIVATE
    -Wl,--version-script=${export_map} -Wl,-Bsymbolic-functions -Wl,--as-needed -Wl,-z,now -Wl,-z,relro)
set_property(TARGET korvane APPEND PROPERTY LINK_DEPENDS ${export_list})
if(KORVANE_SESSION STREQUAL "carried" AND NOT KORVANE_SANITIZE)
    target_link_options(korvane PRIVATE -Wl,--no-undefined)
endif()
if(KORVANE_SESSION_HEADER)
    target_compile_definitions(korvane PRIVATE
        KORVANE_SESSION_HEADER="${KORVANE_SESSION_HEADER}" KORVANE_SESSION_SOCKET=${KORVANE_SESSION_SOCKET})
endif()
