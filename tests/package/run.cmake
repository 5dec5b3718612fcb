# Installs the build BUILD under WORK, builds the clients in this folder against that,
# and runs them and the installed tool.
function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed)
run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR} -B ${WORK}/client -G Ninja
  -DCMAKE_PREFIX_PATH=${WORK}/installed -DCMAKE_CXX_COMPILER=${COMPILER}
  "-DCMAKE_CXX_FLAGS=${FLAGS}" -DCMAKE_BUILD_TYPE=Debug)
run(${CMAKE_COMMAND} --build ${WORK}/client)
run(${WORK}/client/client)
run(${WORK}/client/theories)
run(${WORK}/installed/bin/opal --version)
run(${WORK}/installed/bin/opal-check-proof --help)
