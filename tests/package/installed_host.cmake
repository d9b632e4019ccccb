file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

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
set(ENV{LD_LIBRARY_PATH} "${prefix}/lib:$ENV{LD_LIBRARY_PATH}")
run(${WORK_DIR}/build/kvmess_host)
