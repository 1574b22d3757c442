# SPDX-License-Identifier: MIT
# Installs `build` below `work`, moves the tree to another place, and builds and runs `consumer` against it.
cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/../support/Run.cmake)

file(REMOVE_RECURSE ${work})
run(${CMAKE_COMMAND} --install ${build} --prefix ${work}/first)
file(RENAME ${work}/first ${work}/installed)

file(GLOB_RECURSE texts ${work}/installed/*.h ${work}/installed/*.cmake)
expect_free_of("${texts}" ${source} ${build} ${work})

# Extensions stay on, as a host may have them.
run(${CMAKE_COMMAND} -S ${consumer} -B ${work}/build -G ${generator} -D CMAKE_CXX_COMPILER=${compiler}
    -D CMAKE_PREFIX_PATH=${work}/installed -D CMAKE_CXX_EXTENSIONS=ON
    -D CMAKE_FIND_USE_PACKAGE_REGISTRY=OFF -D CMAKE_EXPORT_COMPILE_COMMANDS=ON)
run(${CMAKE_COMMAND} --build ${work}/build)
file(READ ${work}/build/compile_commands.json commands)
string(REPLACE "${work}" "" foreign "${commands}")
string(REPLACE "${consumer}" "" foreign "${foreign}")
string(FIND "${foreign}" "${source}" at)
if(NOT at EQUAL -1)
    message(FATAL_ERROR "the consumer was not built from the installed tree alone:\n${commands}")
endif()
run(${work}/build/consumer)
message(STATUS "${output}")

# The command that is installed beside the library finds it there.
if(EXISTS ${work}/installed/bin/knotfit)
    run(${work}/installed/bin/knotfit --version)
endif()
