# Builds for Windows with MinGW-w64 and runs the tests in Wine (Debian: g++-mingw-w64-x86-64-posix, wine64).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The compiler's libraries are shared by the program and libkerf.dll: error categories and the ends of
# threads are one thing for both.
find_program(WINE_PROGRAM NAMES wine64 wine PATHS /usr/lib/wine)
if(WINE_PROGRAM)
    set(runtime "")
    foreach(library libstdc++-6.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
                        OUTPUT_VARIABLE place OUTPUT_STRIP_TRAILING_WHITESPACE)
        get_filename_component(place ${place} DIRECTORY)
        string(APPEND runtime "Z:${place}\\;")
    endforeach()
    set(CMAKE_CROSSCOMPILING_EMULATOR env "WINEPATH=${runtime}" WINEDEBUG=-all ${WINE_PROGRAM})
endif()
