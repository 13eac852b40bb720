vn_add_test(files/VnFileSystemDirectoriesTest.cpp DEPENDS VnTools)
vn_add_test(files/VnFileSystemVolumesTest.cpp DEPENDS VnReader)
vn_add_test(files/VnFilenameMimeTypeTest.cpp DEPENDS VnTools VnReader HTTPServer)
vn_add_test(files/VnFilenameSplitTest.cpp)
vn_add_test(files/VnFilenameTest.cpp DEPENDS VnTools VnReader)
vn_add_test(files/VnResourceFilesTest.cpp DEPENDS VnTools)
vn_add_test(files/VnURLTest.cpp)

# A module that the registration test calls.
add_library(TestRegisterableModule MODULE modules/RegisterableModule.cpp)
set_target_properties(TestRegisterableModule PROPERTIES
    PREFIX ""
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/modules
)
vn_add_test(runtime/VnRunProgramTest.cpp DEPENDS TestRegisterableModule)
target_compile_definitions(runtime_VnRunProgramTest PRIVATE
    VN_TEST_REGISTERABLE_MODULE="$<TARGET_FILE:TestRegisterableModule>"
)

# The labels of volumes are read from a folder of the test.
target_link_options(files_VnFileSystemVolumesTest PRIVATE
    -Wl,--wrap=opendir -Wl,--wrap=lstat -Wl,--wrap=realpath
)
