# Read behind `project`. This machine's libraries are found where its own C library lies too, whose
# headers must not be seen: a folder of links shows those alone that are the same on a Mac.
enable_language(OBJCXX)
list(APPEND CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES /usr/include)
list(APPEND CMAKE_OBJCXX_IMPLICIT_INCLUDE_DIRECTORIES /usr/include)
set(libraries ${CMAKE_BINARY_DIR}/libraries)
file(MAKE_DIRECTORY ${libraries})
foreach(library gtest nlohmann)
  file(CREATE_LINK /usr/include/${library} ${libraries}/${library} SYMBOLIC)
endforeach()
include_directories(SYSTEM ${libraries})
