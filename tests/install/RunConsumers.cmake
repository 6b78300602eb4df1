# Installs the build tree into a fresh prefix and builds and runs the consumer against it, first
# through find_package, then through pkg-config. Run by ctest with -P.
foreach(v BUILD_DIR WORK_DIR CONSUMER_DIR GENERATOR CXX_COMPILER)
  if(NOT DEFINED ${v})
    message(FATAL_ERROR "RunConsumers.cmake: ${v} not set")
  endif()
endforeach()

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    list(JOIN ARGN " " cmd)
    message(FATAL_ERROR "failed (${rc}): ${cmd}")
  endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# The pkg-config file may sit in lib/ or a multiarch folder below it.
file(GLOB_RECURSE pc_file ${prefix}/*/skOpenSGExt.pc)
if(NOT pc_file)
  message(FATAL_ERROR "no skOpenSGExt.pc under ${prefix}")
endif()
list(GET pc_file 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)

foreach(mode cmake pkgconfig)
  set(bin ${WORK_DIR}/${mode})
  if(mode STREQUAL "pkgconfig")
    set(use_pc ON)
  else()
    set(use_pc OFF)
  endif()
  run(${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pc_dir}
      ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${bin} -G ${GENERATOR}
      -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_PREFIX_PATH=${prefix} -DUSE_PKGCONFIG=${use_pc}
      -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
      "-DCMAKE_CXX_FLAGS=${SANITIZER_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${SANITIZER_FLAGS}")
  run(${CMAKE_COMMAND} --build ${bin})
  run(${bin}/consumer)
  message(STATUS "consumer through ${mode}: built and ran")
endforeach()
