# One static library per room: a room that reaches for what it may not know fails to link.
add_library(vennic_pch INTERFACE)
target_precompile_headers(vennic_pch INTERFACE
  <QtCore/QByteArray> <QtCore/QHash> <QtCore/QObject> <QtCore/QString> <QtCore/QStringList> <QtCore/QTimer>
  <chrono> <coroutine> <functional> <memory> <optional> <string> <variant> <vector>)

# vennic_room(name [SOURCES dir...] [LINKS target...]): every .cpp below src/<name>, and below the named folders.
function(vennic_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${name}/*.cpp ${CMAKE_SOURCE_DIR}/src/${name}/*.h)
  add_library(vennic_${name} STATIC ${sources})
  target_include_directories(vennic_${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(vennic_${name} PUBLIC Qt6::Core ${ROOM_LINKS} PRIVATE vennic_pch)
endfunction()

# vennic_test(name [LINKS target...] [LABELS label...]): every *Test.cpp below tests/<name> in one program, one ctest case per test.
function(vennic_test name)
  cmake_parse_arguments(TEST "" "TIMEOUT" "LINKS;PROPERTIES" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/${name}/*.cpp ${CMAKE_SOURCE_DIR}/tests/${name}/*.h)
  add_executable(${name}_test ${sources})
  target_link_libraries(${name}_test PRIVATE ${TEST_LINKS} vennic_test_support vennic_pch)
  if(NOT TEST_TIMEOUT)
    set(TEST_TIMEOUT 60)
  endif()
  gtest_discover_tests(${name}_test TEST_PREFIX "${name}/" DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT ${TEST_TIMEOUT} ${TEST_PROPERTIES})
endfunction()
