# SPDX-License-Identifier: MIT
# Builds `host` around the library, runs it, installs both, moves them, and builds the host anew against what is there.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/../support/Run.cmake)

set(common -G ${generator} -D CMAKE_BUILD_TYPE=Debug -D CMAKE_CXX_COMPILER=${compiler}
    -D CMAKE_CXX_COMPILER_LAUNCHER=${launcher})
file(REMOVE_RECURSE ${work})

# The header's name goes into an installed header, so a place on this machine is refused.
execute_process(COMMAND ${CMAKE_COMMAND} -S ${source} -B ${work}/refused ${common}
    -D KNOTWORK_BASE_HEADER=${host}/hostbase.h RESULT_VARIABLE status ERROR_VARIABLE output OUTPUT_QUIET)
if(status EQUAL 0 OR NOT output MATCHES "KNOTWORK_BASE_HEADER")
    message(FATAL_ERROR "a header with its directory was taken:\n${output}")
endif()

# Libraries given as files stay this build's business.
run(${CMAKE_COMMAND} -S ${source} -B ${work}/files ${common} -D KNOTWORK_BUILD_TESTS=OFF
    -D KNOTWORK_BASE_HEADER=hostbase.h -D KNOTWORK_BASE_INCLUDE_DIRS=${host}
    -D KNOTWORK_BASE_LIBRARIES=${work}/libhost.so)
file(GLOB_RECURSE texts ${work}/files/CMakeFiles/Export/*.cmake ${work}/files/knotwork/platform/choice.h)
expect_free_of("${texts}" ${source} ${work})

# So do targets of a host that installs nothing.
run(${CMAKE_COMMAND} -S ${host} -B ${work}/alone ${common} -D KNOTWORK_SOURCE=${source} -D HOST_KEEPS_TO_ITSELF=ON)

run(${CMAKE_COMMAND} -S ${host} -B ${work}/build ${common} -D KNOTWORK_SOURCE=${source})
run(${CMAKE_COMMAND} --build ${work}/build)
run(${work}/build/host)
file(GLOB_RECURSE standIns ${work}/build/*knotwork_platform* ${work}/build/*Tmetaclass.cpp.o)
if(standIns)
    message(FATAL_ERROR "stand-ins were built though the host has its own: ${standIns}")
endif()

run(${CMAKE_COMMAND} --install ${work}/build --prefix ${work}/first)
file(RENAME ${work}/first ${work}/installed)
file(GLOB_RECURSE texts ${work}/installed/*.h ${work}/installed/*.cmake)
expect_free_of("${texts}" ${source} ${work})
if(EXISTS ${work}/installed/include/knotwork/platform/base)
    message(FATAL_ERROR "headers of the stand-ins were installed")
endif()
run(${CMAKE_COMMAND} -S ${host} -B ${work}/again ${common} -D CMAKE_PREFIX_PATH=${work}/installed
    -D CMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
run(${CMAKE_COMMAND} --build ${work}/again)
run(${work}/again/host)
