# Writes what the command knows of itself: a manual page for each subcommand and the completions.
#   cmake -DCOMMAND=PROGRAM -DFOLDER=FOLDER -P pages.cmake
# FOLDER gets man1/selvane-SUBCOMMAND.1, and completions with the names that their shells look for.
set(ENV{SELVANE_CONFIG} "")

# say(FILE WORD...): writes to the file what the command prints for these words.
function(say file)
  execute_process(COMMAND ${COMMAND} ${ARGN} OUTPUT_FILE ${FOLDER}/${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER}/man1 ${FOLDER}/completions)
execute_process(COMMAND ${COMMAND} manual OUTPUT_VARIABLE names COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" names "${names}")
foreach(name ${names})
  say(man1/selvane-${name}.1 manual ${name})
endforeach()
say(completions/selvane completions bash)
say(completions/_selvane completions zsh)
say(completions/selvane.fish completions fish)
