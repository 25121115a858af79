# The files that help editors with definitions, held against all definition files.
if(NOT CMAKE_CROSSCOMPILING)
  add_test(NAME Editors.TextMate COMMAND python3 ${CMAKE_CURRENT_LIST_DIR}/grammar.py ${PROJECT_SOURCE_DIR})
  find_program(VELNOR_VIM vim)
  if(VELNOR_VIM)
    add_test(NAME Editors.Vim COMMAND sh ${CMAKE_CURRENT_LIST_DIR}/vim.sh ${VELNOR_VIM} ${PROJECT_SOURCE_DIR}
                                      ${CMAKE_CURRENT_BINARY_DIR}/vim.txt)
    set_tests_properties(Editors.Vim PROPERTIES TIMEOUT 300)
  else()
    message(STATUS "Left out: the test of Vim's syntax file (install vim)")
  endif()
endif()
