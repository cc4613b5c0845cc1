# Makes the object files of the shipped scripts from their sources and string files, by the program's own import.
set(folder ${APP}/resource/modules/vestaplugin)
file(REMOVE_RECURSE ${folder} ${WORK})
file(COPY ${PROJECT}/app/resource/modules/vestaplugin/ DESTINATION ${folder})
execute_process(
  COMMAND ${APP}/bin/vesta --app-dir ${APP} --prefs-dir ${WORK}/preferences -g g_ostrakOutfitterTools=true
    execute 1001192 --select ${folder}/strings
  RESULT_VARIABLE status OUTPUT_VARIABLE said ERROR_VARIABLE said)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "The shipped scripts could not be made:\n${said}")
endif()
# An object file carries its source, and hides a file of it.
file(GLOB sources ${folder}/scripts/*.brm)
file(REMOVE ${sources})
