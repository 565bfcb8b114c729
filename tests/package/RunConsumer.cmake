# Installs the build BUILD into WORK, builds the consumer against that alone with the toolchain file
# TOOLCHAIN (ARCH says for which processor), and runs it through EMULATOR.
file(REMOVE_RECURSE ${WORK})

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/package)
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/build -G ${GENERATOR} -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCIFRA_ARCH=${ARCH}
    -DCifra_DIR=${WORK}/package/lib/cmake/Cifra)
run(${CMAKE_COMMAND} --build ${WORK}/build)
# The program loads the DLL from its own directory.
file(COPY ${WORK}/package/bin/Cifra.dll DESTINATION ${WORK}/build)
run(${EMULATOR} ${WORK}/build/consumer.exe)
