# Part of "cmake --install" of a mingw-w64 build: lays the libraries beside the programs that need them, and the
# platform plugin where Qt looks for it. What none of the folders has is the system's own.
#
# Set before: `destination`, below the prefix, where the programs are already; `plugin`, a file, or empty;
# `libraryFolders`, a list; `objdump` and `strip`, the tools that name a file's libraries and drop what only a debugger
# wants. CMake's GET_RUNTIME_DEPENDENCIES is of no use here: it turns the names to lower case and then does not find them.

cmake_policy(VERSION 3.25)
set(folder "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/${destination}")
file(GLOB toRead "${folder}/*.exe")
list(APPEND toRead ${plugin})
set(libraries)
while(toRead)
    list(POP_FRONT toRead file)
    execute_process(COMMAND ${objdump} -p "${file}" OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "DLL Name: [^\n]+" names "${headers}")
    foreach(name IN LISTS names)
        string(REPLACE "DLL Name: " "" name "${name}")
        unset(library)
        find_file(library "${name}" PATHS ${libraryFolders} NO_CACHE NO_DEFAULT_PATH)
        if(library AND NOT library IN_LIST libraries)
            list(APPEND libraries "${library}")
            list(APPEND toRead "${library}")
        endif()
    endforeach()
endwhile()

file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/${destination}" TYPE SHARED_LIBRARY FILES ${libraries})
# Every start of the launcher copies them, and nine tenths of the compiler's are for a debugger. With
# their dates, also the one inside, since players fetch again what differs.
foreach(library IN LISTS libraries)
    cmake_path(GET library FILENAME name)
    execute_process(COMMAND ${strip} --strip-unneeded --preserve-dates "${folder}/${name}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
if(plugin)
    file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/${destination}/platforms" TYPE MODULE FILES "${plugin}")
endif()
