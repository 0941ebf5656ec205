# cmake -DEXAMPLE=<program> -DWORK_DIR=<dir> -P run_example.cmake
include(${CMAKE_CURRENT_LIST_DIR}/sample_maildir.cmake)
tessel_check_example(${EXAMPLE} ${WORK_DIR})
