# Read by CTest for each test program of GoogleTest: asks the program for its tests and adds one test for each
# suite, so that tests of one kind share a process, a display and the toolkit's start. Suites that want a
# process for each test are named by a regular expression.
#   name, program, launcher, each, labels, timeout, working_directory: set by the file that includes this one
# Two programs may have a suite of the same name, so the program's name stands first.

if(NOT EXISTS "${program}")
    add_test("${name}_NOT_BUILT" "${program}")
    return()
endif()

execute_process(COMMAND ${launcher} "${program}" --gtest_list_tests
    OUTPUT_VARIABLE listing RESULT_VARIABLE result ERROR_VARIABLE errors TIMEOUT 120)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "cannot list the tests of ${program}: ${errors}")
endif()

# add(<name of the test> <filter> <cost>)
string(REGEX REPLACE "_tests$" "" room "${name}")
macro(add test filter cost)
    set(test_name "${room}.${test}")
    add_test("${test_name}" ${launcher} "${program}" "--gtest_filter=${filter}")
    set_tests_properties("${test_name}" PROPERTIES
        LABELS "${labels}" TIMEOUT "${timeout}" COST "${cost}"
        WORKING_DIRECTORY "${working_directory}")
endmacro()

# A suite's name ends in a point, its tests stand indented below it, the value of a parameter behind "#".
string(REPLACE ";" "," listing "${listing}")
string(REPLACE "\n" ";" listing "${listing}")
foreach(line IN LISTS listing)
    if(line MATCHES "^([^ ]+)\\.( .*)?$")
        set(suite "${CMAKE_MATCH_1}")
        set(alone OFF)
        if(each AND suite MATCHES "${each}")
            set(alone ON)
        else()
            add("${suite}" "${suite}.*" 0)
        endif()
    elseif(alone AND line MATCHES "^  ([^ ]+)(  *#.*)?$")
        # The long ones begin first.
        add("${suite}.${CMAKE_MATCH_1}" "${suite}.${CMAKE_MATCH_1}" 10)
    endif()
endforeach()
