# Run when the programs are installed: lets the control tool, ${QUILLMARKCTL}, write its manual pages and its
# completion scripts into the folder ${INTO}.
function(write_page NAME)
  execute_process(COMMAND ${QUILLMARKCTL} ${ARGN} OUTPUT_FILE ${INTO}/${NAME} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${INTO})
file(MAKE_DIRECTORY ${INTO})
write_page(quillmarkctl.1 manual quillmarkctl)
write_page(Quillmark.1 manual Quillmark)
write_page(quillmark-specs.5 manual quillmark-specs)
execute_process(COMMAND gzip -9n ${INTO}/quillmarkctl.1 ${INTO}/Quillmark.1 ${INTO}/quillmark-specs.5
  COMMAND_ERROR_IS_FATAL ANY)
write_page(quillmarkctl completion bash)
write_page(_quillmarkctl completion zsh)
write_page(quillmarkctl.fish completion fish)
