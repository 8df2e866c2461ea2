# The names that programs for Windows expect: package_minder.dll, without a "lib".
set(CMAKE_SHARED_LIBRARY_PREFIX "")

# Windows finds a program's libraries beside it: all programs and libraries of the build go to one directory, and
# those of the compiler and of the dependencies with them.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

set(runtime_libraries)
foreach(dependency IN LISTS CMAKE_FIND_ROOT_PATH)
  file(GLOB found CONFIGURE_DEPENDS ${dependency}/bin/*.dll)
  list(APPEND runtime_libraries ${found})
endforeach()
foreach(name IN ITEMS libgcc_s_seh-1.dll libstdc++-6.dll libwinpthread-1.dll)
  execute_process(
    COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
    OUTPUT_VARIABLE library
    OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY
  )
  list(APPEND runtime_libraries ${library})
endforeach()
file(COPY ${runtime_libraries} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})

# A worker that is stopped while it goes to sleep would wait for ever in the destructor of its std::stop_callback:
# the semaphore in there, where it is made of atomics and there is no futex, loses wake-ups in GCC 12.
add_compile_definitions(_GLIBCXX_USE_POSIX_SEMAPHORE=1)

# Of windows.h the core alone: the old sockets that come with it do not go together with the new ones, which Poco's
# headers bring, and neither order of including them is to matter.
add_compile_definitions(WIN32_LEAN_AND_MEAN)
