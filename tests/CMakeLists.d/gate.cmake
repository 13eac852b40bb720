# Modules that stand for the siblings in the tests: complete ones, and ones without any entry.
add_library(EntryModule OBJECT modules/EntryModule.cpp modules/Factories.cpp)
add_library(BareModule OBJECT modules/BareModule.cpp)
set(VN_TEST_MODULES)
function(vn_add_test_module kind name)
    set(target Test${kind}${name})
    add_library(${target} MODULE $<TARGET_OBJECTS:${kind}Module>)
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ${name}
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/modules/${kind}
    )
    set(VN_TEST_MODULES ${VN_TEST_MODULES} ${target} PARENT_SCOPE)
endfunction()
foreach(name VnTools VnImage VnReader VnDisc VnPlayer VnWMFactory VnTelevision)
    vn_add_test_module(Entry ${name})
endforeach()
foreach(name VnTools VnImage VnReader)
    vn_add_test_module(Bare ${name})
endforeach()

add_library(VersionModule MODULE modules/VersionModule.cpp)
set_target_properties(VersionModule PROPERTIES
    OUTPUT_NAME Version
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/modules
)

vn_add_test(files/VnFileSystemNamesTest.cpp DEPENDS VnTools)
# The leak sanitizer of gcc 12 crashes in its scan of thread-local storage behind one of these tests.
vn_add_test(files/VnFileSystemOperationsTest.cpp DEPENDS VnTools ENVIRONMENT LSAN_OPTIONS=use_tls=0)
vn_add_test(files/VnFileSystemTreesTest.cpp DEPENDS VnTools)
vn_add_test(plugin/ExportsTest.cpp DEPENDS VnPortableDrives VnTools VnReader ${VN_TEST_MODULES})
vn_add_test(plugin/VnAppTest.cpp LAYERS drive plugin)
vn_add_test(runtime/CProcessInfoTest.cpp)
vn_add_test(runtime/CVersionInfoTest.cpp DEPENDS VersionModule ${VN_TEST_MODULES})
vn_add_test(runtime/VnSharedMemoryTest.cpp)
vn_add_test(runtime/VnSiblingModulesTest.cpp DEPENDS ${VN_TEST_MODULES})

# Programs in which single calls of the system fail: support/FailingCalls.h has a wrapper for each of these.
set(VN_FAILING_CALLS open fcntl ioctl read write close pclose lseek fallocate ftruncate fdatasync fchdir fstat stat
    lstat fstatat statvfs unlink rename mkdir utimes chdir getcwd realpath readlink opendir readdir getdents64 fopen
    fdopen ferror popen system fork socket getifaddrs shm_open shm_unlink mmap munmap dlopen uname setenv nanosleep)
function(vn_fail_calls target)
    target_sources(${target} PRIVATE support/FailingCalls.cpp)
    foreach(call IN LISTS VN_FAILING_CALLS)
        target_link_options(${target} PRIVATE -Wl,--wrap=${call})
    endforeach()
endfunction()
vn_add_test(files/FaultTest.cpp DEPENDS VnTools)
vn_fail_calls(files_FaultTest)
vn_fail_calls(drive_CPortableDriveScanTest)
vn_fail_calls(drive_CPortableDriveTransferTest)
