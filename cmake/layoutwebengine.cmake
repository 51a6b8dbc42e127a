# cmake -DFOLDER=... -P layoutwebengine.cmake: turns what windeployqt has laid beside the launcher into what the launcher
# can copy when it relocates itself, which is plain files and "platforms". docs/windows-package.md says why.
cmake_minimum_required(VERSION 3.25)

if(NOT EXISTS "${FOLDER}/TessaloomLauncher.exe")
    message(FATAL_ERROR "There is no TessaloomLauncher.exe in FOLDER='${FOLDER}'")
endif()
file(GLOB resources "${FOLDER}/resources/*")
foreach(file IN LISTS resources)
    cmake_path(GET file FILENAME name)
    file(RENAME "${file}" "${FOLDER}/${name}")
endforeach()
file(REMOVE_RECURSE "${FOLDER}/resources")

# The copy stands one folder below, and finds the folder of the translations beside the installed launcher.
file(WRITE "${FOLDER}/qt.conf" "[Paths]\nPrefix = .\nTranslations = ../translations\n")

foreach(name IN ITEMS QtWebEngineProcess.exe qt.conf icudtl.dat qtwebengine_resources.pak
        qtwebengine_resources_100p.pak qtwebengine_resources_200p.pak platforms/qwindows.dll
        translations/qtwebengine_locales/en-US.pak)
    if(NOT EXISTS "${FOLDER}/${name}")
        list(APPEND missing "${name}")
    endif()
endforeach()
if(missing)
    message(FATAL_ERROR "The web engine needs these, and windeployqt has not laid them: ${missing}")
endif()
