# The manual page and the completions, made by the program itself each time it is linked, and installed. A program
# for another machine cannot be run here: cross-compiled installations have neither.

# velmora_manual(PROGRAM): makes and installs what the program says about itself.
function(velmora_manual program)
  if(CMAKE_CROSSCOMPILING)
    return()
  endif()
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/manual)
  file(MAKE_DIRECTORY ${folder})
  # The file and where it is installed, and the words that make the program print it.
  set(made
      "velmora-x509.1|${CMAKE_INSTALL_MANDIR}/man1|manual"
      "velmora-x509|${CMAKE_INSTALL_DATADIR}/bash-completion/completions|completions bash"
      "_velmora-x509|${CMAKE_INSTALL_DATADIR}/zsh/site-functions|completions zsh"
      "velmora-x509.fish|${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d|completions fish")
  foreach(each IN LISTS made)
    string(REPLACE "|" ";" each "${each}")
    list(GET each 0 name)
    list(GET each 1 destination)
    list(GET each 2 words)
    separate_arguments(words)
    add_custom_command(TARGET ${program} POST_BUILD COMMAND ${program} ${words} > ${folder}/${name}
                       BYPRODUCTS ${folder}/${name} COMMENT "Making ${name} of ${program} ${words}" VERBATIM)
    install(FILES ${folder}/${name} DESTINATION ${destination} COMPONENT tool)
  endforeach()
endfunction()
