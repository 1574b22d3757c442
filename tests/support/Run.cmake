# SPDX-License-Identifier: MIT
# For the tests that run CMake itself.

# Runs a command; ends the script with what it said when it fails. `output` has that otherwise.
function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${ARGV}\nended with ${status}:\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

# What is installed must not lead back to where it came from: no file names one of the places.
function(expect_free_of files)
    if(NOT files)
        message(FATAL_ERROR "there is nothing to look at")
    endif()
    foreach(file IN LISTS files)
        file(READ ${file} content)
        foreach(place IN LISTS ARGN)
            string(FIND "${content}" "${place}" at)
            if(NOT at EQUAL -1)
                message(FATAL_ERROR "${file} names ${place}")
            endif()
        endforeach()
    endforeach()
endfunction()
