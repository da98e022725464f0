# Checks that a page shows a program as it is: cmake -DDOC=... -DPROGRAM=... -P doc_example.cmake
file(READ ${DOC} page)
file(READ ${PROGRAM} program)
string(FIND "${page}" "```cpp\n${program}```" place)
if(place EQUAL -1)
  message(FATAL_ERROR "${DOC} does not show ${PROGRAM} as it stands")
endif()
