# The installed package as a stranger uses it: compiles a C file against the installed header with the flags of the
# pkg-config file, and finds the module where it says.
#     cmake -DBUILD=... -DCC=... -P header_test.cmake
set(root ${BUILD}/install-test)
file(REMOVE_RECURSE ${root} ${root}-moved)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${root} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
# A package that was moved works from there.
file(RENAME ${root} ${root}-moved)
set(root ${root}-moved)
file(GLOB_RECURSE package ${root}/*/qo1905.pc)
get_filename_component(folder ${package} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${folder})
foreach(query "--cflags" "--variable=module" "--modversion")
    execute_process(COMMAND pkg-config ${query} qo1905 OUTPUT_VARIABLE answer
        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND answers "${answer}")
endforeach()
list(GET answers 0 cflags)
separate_arguments(cflags)
list(GET answers 1 module)
if(NOT EXISTS ${module})
    message(FATAL_ERROR "no module at ${module}")
endif()
file(WRITE ${root}/host.c "#include <qo1905.h>\nint main(void) { return qo1905_init == 0 || getAlTable == 0; }\n")
execute_process(COMMAND ${CC} -std=c99 -Wall -Wextra -Wpedantic -Werror -Wno-address ${cflags} -fsyntax-only ${root}/host.c
    COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE installed RELATIVE ${root} ${root}/include/* ${root}/lib/*)
list(LENGTH installed count)
if(NOT count EQUAL 3)
    message(FATAL_ERROR "expected module, header and pkg-config file, installed: ${installed}")
endif()
