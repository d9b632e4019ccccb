file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
# The installed libraries must find each other without help from the environment.
unset(ENV{LD_LIBRARY_PATH})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGN}\n${out}")
    endif()
    message(STATUS "${out}")
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
foreach(expected
        include/KvMess/kvmess_export.h
        include/KvMess/platform/mc.h
        include/KvMess/messaging/wsmessage.h
        lib/cmake/KvMess/KvMessConfig.cmake
        lib/pkgconfig/KvMess.pc)
    if(NOT EXISTS ${prefix}/${expected})
        message(FATAL_ERROR "not installed: ${expected}")
    endif()
endforeach()
file(GLOB private_headers ${prefix}/include/KvMess/*/*_p.h)
if(private_headers)
    message(FATAL_ERROR "private headers installed: ${private_headers}")
endif()

run(${CMAKE_COMMAND} -S ${HOST_SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/kvmess_host)

# A host that docks the panel, as the README shows it.
run(${CMAKE_COMMAND} -S ${PANEL_HOST_SOURCE_DIR} -B ${WORK_DIR}/panel-build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/panel-build)
set(ENV{HOME} ${WORK_DIR}/home)
run(${WORK_DIR}/panel-build/kvmess_panel_host --quit)

# The same host built with what pkg-config says of the installed package.
set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
foreach(query cflags libs)
    execute_process(COMMAND ${PKG_CONFIG} --${query} KvMess RESULT_VARIABLE result OUTPUT_VARIABLE flags
        ERROR_VARIABLE error OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "pkg-config --${query} KvMess failed: ${error}")
    endif()
    separate_arguments(${query} UNIX_COMMAND "${flags}")
endforeach()
execute_process(COMMAND ${PKG_CONFIG} --variable=libdir KvMess OUTPUT_VARIABLE libdir OUTPUT_STRIP_TRAILING_WHITESPACE)
run(${CXX} -std=c++17 -fPIC ${cflags} ${HOST_SOURCE_DIR}/main.cpp -o ${WORK_DIR}/kvmess_host_pc
    -Wl,--as-needed ${libs} -Wl,-rpath,${libdir})
run(${WORK_DIR}/kvmess_host_pc)
