# Installs the component into a scratch prefix, builds the README's host example against it
# with find_package(oquivran) and runs it.
# Usage: cmake -DBUILD_DIR=... -DEXAMPLE_SOURCE=... -DWORK_DIR=... -DGENERATOR=... -P this
function(step)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGN}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
step(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix)
step(${CMAKE_COMMAND} -S ${EXAMPLE_SOURCE} -B ${WORK_DIR}/build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix -DCMAKE_BUILD_TYPE=Release)
step(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
step(${WORK_DIR}/build/myhost ${WORK_DIR}/prefix/share/oquivran ${WORK_DIR}/example.sqlite)
