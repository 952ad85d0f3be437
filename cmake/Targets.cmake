# One target a folder. A target sees only the headers of what it links: each has an include root of its own
# (a link to its folder), so that an include against the direction of the layers does not compile.

# kestrovan_library(NAME [FOLDER folder] SOURCES … [RESOURCES …] [HEADERS …] [PUBLIC …] [PRIVATE …])
function(kestrovan_library name)
    cmake_parse_arguments(arg "" "FOLDER" "SOURCES;RESOURCES;HEADERS;PUBLIC;PRIVATE" ${ARGN})
    if(NOT arg_FOLDER)
        set(arg_FOLDER ${name})
    endif()
    jumbo_sources(sources ${name} ${arg_FOLDER} 16 ${arg_SOURCES})
    add_library(${name} STATIC ${sources} ${arg_HEADERS} ${arg_RESOURCES})
    set(root ${PROJECT_BINARY_DIR}/include/${name})
    get_filename_component(parent ${root}/${arg_FOLDER} DIRECTORY)
    file(MAKE_DIRECTORY ${parent})
    if(NOT EXISTS ${root}/${arg_FOLDER})
        file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${arg_FOLDER} ${root}/${arg_FOLDER} SYMBOLIC)
    endif()
    target_include_directories(${name} PUBLIC ${root})
    target_link_libraries(${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE} projectWarnings)
    foreach(header ${arg_HEADERS})
        check_header(${name} ${arg_FOLDER}/${header})
    endforeach()
endfunction()

# Settings every target with Qt shares.
function(kestrovan_qt target)
    # The moc of Qt 6.4 cannot read these two headers of the standard library: it finds them included already.
    set_target_properties(${target} PROPERTIES AUTOMOC ON AUTORCC ON
        # The first format holds no times of files, which differ from clone to clone.
        AUTORCC_OPTIONS "--format-version;1"
        AUTOMOC_MOC_OPTIONS "-D_GLIBCXX_CONCEPTS;-D_GLIBCXX_COROUTINE")
    target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII)
endfunction()

# A header of a library compiles alone: one source that includes nothing else is compiled for each.
function(check_header library header)
    string(MAKE_C_IDENTIFIER ${header} id)
    set(source ${PROJECT_BINARY_DIR}/headers/${library}/${id}.cpp)
    file(GENERATE OUTPUT ${source} CONTENT "#include \"${header}\"\n")
    set_property(GLOBAL APPEND PROPERTY header_libraries ${library})
    set_property(GLOBAL APPEND PROPERTY header_sources_${library} ${source})
endfunction()

function(finish_header_checks)
    get_property(libraries GLOBAL PROPERTY header_libraries)
    add_custom_target(header_checks)
    if(libraries)
        list(REMOVE_DUPLICATES libraries)
    endif()
    foreach(library ${libraries})
        get_property(sources GLOBAL PROPERTY header_sources_${library})
        add_library(headers_${library} OBJECT EXCLUDE_FROM_ALL ${sources})
        target_link_libraries(headers_${library} PRIVATE ${library} projectWarnings)
        add_dependencies(header_checks headers_${library})
    endforeach()
endfunction()

# Tests include each other's fixtures, and jumbo sources of tests their sources, by the path from the root.
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/include/tests)
if(NOT EXISTS ${PROJECT_BINARY_DIR}/include/tests/tests)
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/tests ${PROJECT_BINARY_DIR}/include/tests/tests SYMBOLIC)
endif()

# What runs under the thread sanitizer: every test with the label "threads".
add_custom_target(threadTests)

# kestrovan_test(NAME SOURCES … [ALONE …] LINK … [LAUNCHER …]): one GoogleTest program, run by CTest off-screen, by the
# launcher if there is one. A source that includes its own .moc is compiled ALONE.
function(kestrovan_test name)
    cmake_parse_arguments(arg "QT" "TIMEOUT;LAUNCHER" "SOURCES;ALONE;LINK;LABELS" ${ARGN})
    file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    jumbo_sources(sources ${name} ${folder} 16 ${arg_SOURCES})
    add_executable(${name} ${sources} ${arg_ALONE})
    target_include_directories(${name} PRIVATE ${PROJECT_BINARY_DIR}/include/tests)
    target_compile_options(${name} PRIVATE -O1)
    target_link_libraries(${name} PRIVATE ${arg_LINK} GTest::gmock projectWarnings)
    if(arg_QT)
        kestrovan_qt(${name})
        target_link_libraries(${name} PRIVATE Qt6::Test)
    else()
        target_link_libraries(${name} PRIVATE GTest::gmock_main)
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    if("threads" IN_LIST arg_LABELS)
        add_dependencies(threadTests ${name})
    endif()
    add_test(NAME ${name} COMMAND ${arg_LAUNCHER} $<TARGET_FILE:${name}>)
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}"
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;TZ=UTC")
endfunction()
