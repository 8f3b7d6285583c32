# orx_add_test(NAME <name> SOURCES <files...> LIBS <targets...> [TIMEOUT <s>] [QT]
#              [WRAPPER <script>])
#
# Adds a test executable run by CTest through tests/support/isolated, which
# gives every run fresh HOME, XDG and simulator folders in a temporary
# directory, so no test ever touches a real user's files. QT links Qt Test.
# WRAPPER runs the test through a script (e.g. in a network namespace); the
# script exits 77 to report the test skipped.
function(orx_add_test)
    cmake_parse_arguments(T "QT" "NAME;TIMEOUT;WRAPPER" "SOURCES;LIBS" ${ARGN})
    add_executable(${T_NAME} ${T_SOURCES})
    target_link_libraries(${T_NAME} PRIVATE ${T_LIBS})
    if(T_QT)
        target_link_libraries(${T_NAME} PRIVATE Qt5::Test)
    endif()
    add_test(NAME ${T_NAME}
             COMMAND ${PROJECT_SOURCE_DIR}/tests/support/isolated ${T_WRAPPER}
                     $<TARGET_FILE:${T_NAME}>)
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 120)
    endif()
    set_tests_properties(${T_NAME} PROPERTIES TIMEOUT ${T_TIMEOUT})
    if(T_WRAPPER)
        set_tests_properties(${T_NAME} PROPERTIES SKIP_RETURN_CODE 77)
    endif()
endfunction()
