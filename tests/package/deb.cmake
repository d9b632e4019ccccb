# SPDX-License-Identifier: MIT
# Makes the Debian packages from the build, checks what each holds and what it
# depends on, runs lintian and the desktop validators, then unpacks them into a
# temporary root and builds and runs the README's panel host against that root.
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
unset(ENV{LD_LIBRARY_PATH})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGN}\n${out}")
    endif()
    set(run_output "${out}" PARENT_SCOPE)
endfunction()

run(${CPACK} -G DEB --config ${BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR}/debs)
set(packages libkvmess0 libkvmess-dev kvmess-desktop)
# Files each package must hold (a suffix of the path dpkg-deb lists), then
# one its Depends must name.
set(libkvmess0_files
    "/usr/lib/libKvMess.so.0.1.0" "/usr/lib/libKvPlatform.so.0" "/usr/share/doc/libkvmess0/copyright"
    "/usr/share/doc/libkvmess0/changelog.gz")
set(libkvmess0_depends "libqt5webenginewidgets5")
set(libkvmess-dev_files
    "/usr/include/KvMess/kvmess_export.h" "/usr/include/KvMess/panel/usercommwidget.h"
    "/usr/lib/cmake/KvMess/KvMessConfig.cmake" "/usr/lib/pkgconfig/KvMess.pc" "/usr/lib/libKvMess.so"
    "/usr/share/doc/libkvmess-dev/copyright")
set(libkvmess-dev_depends "libkvmess0 (= ")
set(kvmess-desktop_files
    "/usr/bin/kvmess-desktop" "/usr/bin/kvmess-console" "/usr/share/applications/kvmess-desktop.desktop"
    "/usr/share/metainfo/org.kvmess.desktop.metainfo.xml"
    "/usr/share/icons/hicolor/scalable/apps/kvmess-desktop.svg"
    "/usr/share/icons/hicolor/48x48/apps/kvmess-desktop.png"
    "/usr/share/icons/hicolor/256x256/apps/kvmess-desktop.png"
    "/usr/share/man/man1/kvmess-desktop.1.gz" "/usr/share/doc/kvmess-desktop/copyright")
set(kvmess-desktop_depends "libkvmess0 (")

set(debs)
foreach(package IN LISTS packages)
    file(GLOB deb ${WORK_DIR}/debs/${package}_*.deb)
    if(NOT deb)
        message(FATAL_ERROR "no package ${package} among: ${WORK_DIR}/debs")
    endif()
    list(APPEND debs ${deb})
    run(${DPKG_DEB} -c ${deb})
    message(STATUS "${package}:\n${run_output}")
    foreach(expected IN LISTS ${package}_files)
        # A file's line ends with its path; a link's goes on with " -> target".
        string(FIND "${run_output}" ".${expected}\n" found)
        string(FIND "${run_output}" ".${expected} -> " found_link)
        if(found EQUAL -1 AND found_link EQUAL -1)
            message(FATAL_ERROR "${package} lacks ${expected}")
        endif()
    endforeach()
    # Nothing of the tests, the benchmarks or the build tools.
    if(run_output MATCHES "tst_|bench|iconrender|_p\\.h")
        message(FATAL_ERROR "${package} holds files of the build: ${CMAKE_MATCH_0}")
    endif()
    run(${DPKG_DEB} -f ${deb} Depends)
    string(FIND "${run_output}" "${${package}_depends}" found)
    if(found EQUAL -1)
        message(FATAL_ERROR "${package} Depends lacks ${${package}_depends}: ${run_output}")
    endif()
    message(STATUS "${package} Depends: ${run_output}")
    run(${DPKG_DEB} -x ${deb} ${WORK_DIR}/root)
endforeach()

# Errors fail; the warnings that remain are listed in the README.
run(${LINTIAN} --fail-on error --no-tag-display-limit ${debs})
message(STATUS "lintian:\n${run_output}")
run(${DESKTOP_FILE_VALIDATE} ${WORK_DIR}/root/usr/share/applications/kvmess-desktop.desktop)
run(${APPSTREAMCLI} validate --no-net ${WORK_DIR}/root/usr/share/metainfo/org.kvmess.desktop.metainfo.xml)
# apt would install them together: their dependencies are all satisfiable here.
run(${APT_GET} install --simulate --no-install-recommends ${debs})

# The README's panel host against the unpacked root.
run(${CMAKE_COMMAND} -S ${PANEL_HOST_SOURCE_DIR} -B ${WORK_DIR}/panel-build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${WORK_DIR}/root/usr)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/panel-build)
set(ENV{HOME} ${WORK_DIR}/home)
run(${WORK_DIR}/panel-build/kvmess_panel_host --quit)
run(ldd ${WORK_DIR}/panel-build/kvmess_panel_host)
string(FIND "${run_output}" "${WORK_DIR}/root/usr/lib/libKvMess.so.0" found)
if(found EQUAL -1)
    message(FATAL_ERROR "the panel host did not load the unpacked library:\n${run_output}")
endif()
