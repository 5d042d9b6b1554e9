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
