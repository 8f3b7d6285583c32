# orx_add_test(NAME <name> SOURCES <files...> LIBS <targets...> [TIMEOUT <s>] [QT] [NETNS])
#
# Adds a test executable run by CTest through tests/support/isolated, which
# gives every run fresh HOME, XDG and simulator folders in a temporary
# directory, so no test ever touches a real user's files. QT links Qt Test.
# NETNS runs it in a network namespace of its own (tests/support/netns), as
# every test that discovers GigE Vision devices must; it is skipped where no
# namespace can be made.
function(orx_add_test)
    cmake_parse_arguments(T "QT;NETNS" "NAME;TIMEOUT" "SOURCES;LIBS" ${ARGN})
    add_executable(${T_NAME} ${T_SOURCES})
    target_link_libraries(${T_NAME} PRIVATE ${T_LIBS})
    if(T_QT)
        target_link_libraries(${T_NAME} PRIVATE Qt5::Test)
    endif()
    set(wrapper)
    if(T_NETNS)
        set(wrapper ${PROJECT_SOURCE_DIR}/tests/support/netns)
    endif()
    add_test(NAME ${T_NAME}
             COMMAND ${PROJECT_SOURCE_DIR}/tests/support/isolated ${wrapper}
                     $<TARGET_FILE:${T_NAME}>)
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 120)
    endif()
    set_tests_properties(${T_NAME} PROPERTIES TIMEOUT ${T_TIMEOUT} SKIP_RETURN_CODE 77)
endfunction()
