# Who sits before the screen in the tests of the built program: looks for these pictures and presses there. It looks
# at millions of pixels, which is worth optimising.
find_package(X11 REQUIRED)
if(NOT TARGET test_person)
    add_library(test_person OBJECT "${CMAKE_SOURCE_DIR}/tests/e2e/Answer.cpp" "${CMAKE_SOURCE_DIR}/tests/e2e/Desktop.cpp")
    target_link_libraries(test_person PRIVATE orsel_options X11::X11)
    target_compile_options(test_person PRIVATE -O2)
endif()
set(ORSEL_PERSON_SOURCES
    "${CMAKE_SOURCE_DIR}/tests/e2e/Program.cpp" $<TARGET_OBJECTS:test_person> $<TARGET_OBJECTS:pictures>)
