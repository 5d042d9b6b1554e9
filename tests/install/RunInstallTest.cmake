# Usage: cmake -DBUILD_DIR=... -DCONSUMER_SOURCE=... -DWORK_DIR=... -DGENERATOR=... -P this
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGN}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR}/prefix ${WORK_DIR}/consumer-src ${WORK_DIR}/consumer-build)
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix)
# The host is built from a copy outside the source tree, as a host project would be.
file(COPY ${CONSUMER_SOURCE}/ DESTINATION ${WORK_DIR}/consumer-src)
run(${CMAKE_COMMAND} -S ${WORK_DIR}/consumer-src -B ${WORK_DIR}/consumer-build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer-build)
run(${WORK_DIR}/consumer-build/oquivran-consumer ${WORK_DIR}/consumer.db)
# The installed sample host runs without LD_LIBRARY_PATH: it finds the installed library
# through its own run path, and the installed forms.
set(installed_host ${WORK_DIR}/prefix/bin/oquivran-host)
set(host_env ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH XDG_DATA_HOME=${WORK_DIR}/data)
file(REMOVE_RECURSE ${WORK_DIR}/data)
run(${host_env} ${installed_host} --help)
run(${host_env} ${installed_host} init)
execute_process(COMMAND ${host_env} ${installed_host} discharge --all RESULT_VARIABLE result)
# The sample's sub-item 4 draws on a declaration without C.T.C.: refused (4), the rest done.
if(NOT result EQUAL 4)
    message(FATAL_ERROR "the installed host's discharge --all ended with ${result}")
endif()
run(${host_env} ${installed_host} number)
run(${host_env} ${installed_host} print --report control --out ${WORK_DIR}/control.pdf)
