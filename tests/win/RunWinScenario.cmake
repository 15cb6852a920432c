# Runs one scenario script through corvelle-winhost under Wine (Corvelle.dll registered in the
# Wine prefix) and compares its transcript with corvelle-sim's golden one: the same script must
# give the same transcript through COM.
#
#   cmake -DWINE=... -DHOST=corvelle-winhost.exe -DSCRIPT=x.csim -DGOLDEN=x.out -DRESOURCES=...
#         -DWORK=... [-DOPTIONS=--window] -P RunWinScenario.cmake
#
# With OPTIONS=--window the host draws the explorer window and the add-in's panes show in it, as
# in Outlook: the transcript must still be the same.
#
# As in RunScenario.cmake the add-in's folder is made fresh under WORK with the shipped files,
# and the day log goes to a folder of its own (CORVELLE_TMP). Wine sees the machine's files on
# drive Z:, so the folder is given to the host as Z:\...; in the transcript it reads DIR, with
# "/" after it as corvelle-sim prints it. A script whose name begins with "nodir-" runs without
# --dir.
foreach(_var WINE HOST SCRIPT GOLDEN RESOURCES WORK)
  if(NOT DEFINED ${_var})
    message(FATAL_ERROR "RunWinScenario.cmake needs -D${_var}=...")
  endif()
endforeach()

file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}/addin" "${WORK}/tmp")
file(GLOB _shipped "${RESOURCES}/*")
if(_shipped)
  file(COPY ${_shipped} DESTINATION "${WORK}/addin")
endif()

function(windows_path unix out)
  string(REPLACE "/" "\\" _p "${unix}")
  set(${out} "Z:${_p}" PARENT_SCOPE)
endfunction()
windows_path("${WORK}/addin" _dir)
windows_path("${WORK}/tmp" _tmp)

get_filename_component(_name "${SCRIPT}" NAME)
if(_name MATCHES "^nodir-")
  set(_dirArgs)
else()
  set(_dirArgs --dir "${_dir}")
endif()
# Wine, on a busy machine, now and then fails to start a program and says so: it runs again then.
foreach(_attempt RANGE 1 3)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -E env "CORVELLE_TMP=${_tmp}" "CORVELLE_RESOURCES=${RESOURCES}" WINEDEBUG=-all
            "${WINE}" "${HOST}" ${OPTIONS} ${_dirArgs} "${SCRIPT}"
    WORKING_DIRECTORY "${WORK}"
    OUTPUT_VARIABLE _out
    ERROR_VARIABLE _err
    RESULT_VARIABLE _status)
  if(NOT "${_out}${_err}" MATCHES "could not be started|ShellExecuteEx failed")
    break()
  endif()
  execute_process(COMMAND sleep 1)
endforeach()

if(_name MATCHES "^nodir-" AND _out MATCHES "^DIR ([^\n]*)\n")
  set(_dir "${CMAKE_MATCH_1}")
endif()
# A path in a quoted value (what `get` prints) has its backslashes doubled.
string(REPLACE "\\" "\\\\" _quotedDir "${_dir}")
string(REPLACE "${_quotedDir}\\\\" "DIR/" _out "${_out}")
string(REPLACE "${_dir}\\" "DIR/" _out "${_out}")
string(REPLACE "${_dir}" "DIR" _out "${_out}")
string(REGEX REPLACE " \\| [0-9]+ \\| " " | PID | " _out "${_out}")
string(APPEND _out "exit status ${_status}\n")
if(NOT _err STREQUAL "")
  string(REPLACE "${_dir}\\" "DIR/" _err "${_err}")
  string(REPLACE "${_dir}" "DIR" _err "${_err}")
  string(APPEND _out "stderr:\n${_err}")
endif()

file(WRITE "${WORK}/actual.out" "${_out}")
file(READ "${GOLDEN}" _expected)
if(NOT _out STREQUAL _expected)
  execute_process(COMMAND diff -u "${GOLDEN}" "${WORK}/actual.out" OUTPUT_VARIABLE _diff)
  message(FATAL_ERROR "the transcript through COM differs from ${GOLDEN}:\n${_diff}")
endif()
