# The manual page names the commands and options of the program, and no others.
#
#   cmake -DPROGRAM=lxpage -DMANUAL=lxpage.1 -P manual_test.cmake

# Sets names_COMMAND for every command of the program, and names_ for what stands before a command.
function(names_of_help command)
    execute_process(COMMAND ${PROGRAM} ${command} --help OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "\n +(-[a-z],)?--[a-z-]+" options "${help}")
    list(TRANSFORM options REPLACE ".*--" "")
    list(REMOVE_ITEM options help)
    list(SORT options)
    set(help_${command} "${options}" PARENT_SCOPE)
    if(command STREQUAL "")
        string(REGEX REPLACE ".*\nSubcommands:(.*)\n\n.*" "\\1" list "${help}")
        string(REGEX MATCHALL "\n  [a-z-]+" commands "${list}")
        list(TRANSFORM commands STRIP)
        set(commands ${commands} PARENT_SCOPE)
    endif()
endfunction()

names_of_help("")
foreach(command IN LISTS commands)
    names_of_help(${command})
endforeach()

# ".It Cm command" opens a command, ".It Fl -option Ar x , Fl -option" names options of it. Options in front of all
# commands are those of several.
file(STRINGS ${MANUAL} lines REGEX "^\\.It (Cm|Fl)")
set(described)
set(command forAll)
foreach(line IN LISTS lines)
    if(line MATCHES "^\\.It Cm ([a-z-]+)")
        set(command ${CMAKE_MATCH_1})
        list(APPEND described ${command})
        set(manual_${command})
    else()
        string(REGEX MATCHALL "Fl -[a-z-]+" options "${line}")
        list(TRANSFORM options REPLACE "^Fl -" "")
        list(APPEND manual_${command} ${options})
    endif()
endforeach()

list(SORT commands)
if(commands STREQUAL "" OR NOT described STREQUAL commands)
    message(SEND_ERROR "commands of the program: ${commands}\nof the manual page: ${described}")
endif()
foreach(command IN LISTS commands)
    list(REMOVE_ITEM help_${command} ${manual_forAll})
    list(SORT manual_${command})
    if(NOT manual_${command} STREQUAL help_${command})
        message(SEND_ERROR "${command}: options of the program: ${help_${command}}\n"
                           "of the manual page: ${manual_${command}}")
    endif()
endforeach()
