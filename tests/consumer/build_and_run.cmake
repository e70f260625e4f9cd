# Installs the build CASEBOOK_BUILD into STAGE, then configures, builds and runs the consumer beside it.
set(prefix "${STAGE}/prefix")
set(build "${STAGE}/build")
file(REMOVE_RECURSE "${prefix}" "${build}")

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

if(CONFIG)
  set(config --config "${CONFIG}")
endif()
run("${CMAKE_COMMAND}" --install "${CASEBOOK_BUILD}" --prefix "${prefix}" ${config})
run("${CMAKE_COMMAND}" -S "${CMAKE_CURRENT_LIST_DIR}" -B "${build}" -G "${GENERATOR}" "-DCMAKE_BUILD_TYPE=${CONFIG}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_CXX_FLAGS=${FLAGS}" "-DCMAKE_PREFIX_PATH=${prefix}")
run("${CMAKE_COMMAND}" --build "${build}")
run("${build}/consumer")
