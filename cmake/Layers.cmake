# The layers of the foundation from the ground up, and the functions that every folder's list uses.

set(VN_FOUNDATION_LAYERS data core runtime text files)

# One OBJECT library a folder. All of them are joined by vn_link_foundation: a plain archive would drop the objects
# that only hold static initialisers, and the folders call each other.
function(vn_add_layer name)
    cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
    if(ARG_SOURCES)
        add_library(${name} OBJECT ${ARG_SOURCES})
    endif()
endfunction()

# Links the foundation's objects, and the libraries that they stand on, into a module or program.
function(vn_link_foundation target)
    foreach(layer IN LISTS VN_FOUNDATION_LAYERS)
        if(TARGET ${layer} AND (NOT VN_PARTIAL_LAYERS OR layer IN_LIST VN_PARTIAL_LAYERS))
            target_sources(${target} PRIVATE $<TARGET_OBJECTS:${layer}>)
        endif()
    endforeach()
    target_link_libraries(${target} PRIVATE cryptopp uuid Threads::Threads ${CMAKE_DL_LIBS})
    if(VN_PARTIAL_LAYERS)
        target_link_options(${target} PRIVATE -Wl,--unresolved-symbols=ignore-all)
        target_compile_definitions(${target} PRIVATE VN_PARTIAL)
    endif()
endfunction()

# One test program a file: tests/core/VnStringTest.cpp becomes core_VnStringTest. Further arguments: SOURCES more files,
# LIBRARIES to link, DEPENDS targets that must be built first, LAYERS object libraries beyond the foundation, ENVIRONMENT variables.
function(vn_add_test file)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES;DEPENDS;LAYERS;ENVIRONMENT" ${ARGN})
    string(REGEX REPLACE "\\.cpp$" "" name ${file})
    string(REPLACE "/" "_" name ${name})
    add_executable(${name} ${file} support/TestMain.cpp support/TestEnvironment.cpp ${ARG_SOURCES})
    vn_link_foundation(${name})
    foreach(layer IN LISTS ARG_LAYERS)
        target_sources(${name} PRIVATE $<TARGET_OBJECTS:${layer}>)
    endforeach()
    target_link_libraries(${name} PRIVATE GTest::gtest GTest::gmock ${ARG_LIBRARIES})
    target_compile_definitions(${name} PRIVATE VN_BUILD_FOLDER="${CMAKE_BINARY_DIR}" VN_SOURCE_FOLDER="${CMAKE_SOURCE_DIR}")
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    foreach(dependency IN LISTS ARG_DEPENDS)
        if(TARGET ${dependency})
            add_dependencies(${name} ${dependency})
        endif()
    endforeach()
    gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST
        PROPERTIES TIMEOUT 120 ENVIRONMENT "${ARG_ENVIRONMENT}")
endfunction()
