# Installs the build tree into a temporary prefix and builds the example against that tree alone, the way a
# developer outside this repository would: through pkg-config, or through find_package(Tessel). Then runs it.
#
# cmake -DSTEP=install|pkgconfig|find_package -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... -DCC=...
#       [-DEXTRA_FLAGS=...] -P install_tree.cmake
include(${CMAKE_CURRENT_LIST_DIR}/sample_maildir.cmake)

set(prefix ${WORK_DIR}/prefix)
set(example ${SOURCE_DIR}/examples/find_duplicates.c)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}\nfailed (${result}):\n${output}")
  endif()
endfunction()

if(STEP STREQUAL "install")
  file(REMOVE_RECURSE ${WORK_DIR})
  run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
  file(GLOB_RECURSE pc_files ${prefix}/*/tessel.pc)
  file(GLOB_RECURSE config_files ${prefix}/*/TesselConfig.cmake)
  foreach(required ${prefix}/include/tessel.h ${prefix}/bin/tessel)
    if(NOT EXISTS ${required})
      message(FATAL_ERROR "not installed: ${required}")
    endif()
  endforeach()
  if(NOT pc_files OR NOT config_files)
    message(FATAL_ERROR "not installed: tessel.pc (${pc_files}) or TesselConfig.cmake (${config_files})")
  endif()
  # The installed command finds the installed library by itself.
  run(${prefix}/bin/tessel --version)
elseif(STEP STREQUAL "pkgconfig")
  file(GLOB_RECURSE pc_files ${prefix}/*/tessel.pc)
  list(GET pc_files 0 pc_file)
  get_filename_component(pc_dir ${pc_file} DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} ${pc_dir})
  execute_process(COMMAND pkg-config --cflags --libs tessel RESULT_VARIABLE result OUTPUT_VARIABLE flags
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know tessel")
  endif()
  separate_arguments(flags UNIX_COMMAND "${flags}")
  separate_arguments(extra UNIX_COMMAND "${EXTRA_FLAGS}")
  file(MAKE_DIRECTORY ${WORK_DIR}/pkgconfig)
  run(${CC} -std=c11 -Wall -Wextra -pedantic -Werror ${extra} ${example} ${flags}
    -o ${WORK_DIR}/pkgconfig/find_duplicates)
  string(REGEX MATCH "-L[^;]+" libdir "${flags}")
  string(SUBSTRING "${libdir}" 2 -1 libdir)
  set(ENV{LD_LIBRARY_PATH} ${libdir})
  tessel_check_example(${WORK_DIR}/pkgconfig/find_duplicates ${WORK_DIR}/pkgconfig)
elseif(STEP STREQUAL "find_package")
  set(build ${WORK_DIR}/find_package)
  file(REMOVE_RECURSE ${build})
  run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/consumer -B ${build} -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_C_COMPILER=${CC} "-DCMAKE_C_FLAGS=${EXTRA_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${EXTRA_FLAGS}"
    -DEXAMPLE_SOURCE=${example})
  run(${CMAKE_COMMAND} --build ${build})
  tessel_check_example(${build}/find_duplicates ${build})
else()
  message(FATAL_ERROR "unknown STEP ${STEP}")
endif()
