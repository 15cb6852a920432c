# Runs one scenario script through corvelle-sim and compares its transcript with the golden one.
#
#   cmake -DSIM=... -DSCRIPT=x.csim -DGOLDEN=x.out -DRESOURCES=... -DWORK=... -P RunScenario.cmake
#
# The add-in's folder is made fresh under WORK with the files that ship with the add-in, and the
# day log goes to a fresh temporary folder of its own, so a run depends on nothing left over. A
# script whose name begins with "nodir-" runs without --dir: corvelle-sim makes the folder
# itself (in that temporary folder) and copies the shipped files from RESOURCES.
# What differs from run to run is masked: the folder's path reads DIR, the process ID in log
# lines PID. The exit status ends the transcript. With the environment variable UPDATE_GOLDEN=1
# the transcript is written to GOLDEN instead of compared.
foreach(_var SIM SCRIPT GOLDEN RESOURCES WORK)
  if(NOT DEFINED ${_var})
    message(FATAL_ERROR "RunScenario.cmake needs -D${_var}=...")
  endif()
endforeach()

file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}/addin" "${WORK}/tmp")
file(GLOB _shipped "${RESOURCES}/*")
if(_shipped)
  file(COPY ${_shipped} DESTINATION "${WORK}/addin")
endif()

get_filename_component(_name "${SCRIPT}" NAME)
set(_dir "${WORK}/addin")
if(_name MATCHES "^nodir-")
  set(_dirArgs)
else()
  set(_dirArgs --dir "${_dir}")
endif()
execute_process(
  COMMAND "${CMAKE_COMMAND}" -E env "TMPDIR=${WORK}/tmp" "CORVELLE_RESOURCES=${RESOURCES}"
          "${SIM}" ${_dirArgs} "${SCRIPT}"
  WORKING_DIRECTORY "${WORK}"
  OUTPUT_VARIABLE _out
  ERROR_VARIABLE _err
  RESULT_VARIABLE _status)

if(_name MATCHES "^nodir-" AND _out MATCHES "^DIR ([^\n]*)\n")
  set(_dir "${CMAKE_MATCH_1}")
endif()
string(REPLACE "${_dir}" "DIR" _out "${_out}")
string(REGEX REPLACE " \\| [0-9]+ \\| " " | PID | " _out "${_out}")
string(APPEND _out "exit status ${_status}\n")
if(NOT _err STREQUAL "")
  string(REPLACE "${_dir}" "DIR" _err "${_err}")
  string(APPEND _out "stderr:\n${_err}")
endif()

if("$ENV{UPDATE_GOLDEN}" STREQUAL "1")
  file(WRITE "${GOLDEN}" "${_out}")
  message(STATUS "wrote ${GOLDEN}")
  return()
endif()

file(WRITE "${WORK}/actual.out" "${_out}")
if(NOT EXISTS "${GOLDEN}")
  message(FATAL_ERROR "no golden transcript ${GOLDEN}; the transcript is in ${WORK}/actual.out "
                      "(UPDATE_GOLDEN=1 writes it)")
endif()
file(READ "${GOLDEN}" _expected)
if(NOT _out STREQUAL _expected)
  execute_process(COMMAND diff -u "${GOLDEN}" "${WORK}/actual.out" OUTPUT_VARIABLE _diff)
  message(FATAL_ERROR "the transcript differs from ${GOLDEN}:\n${_diff}")
endif()
