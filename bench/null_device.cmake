# The device that does nothing, for benchmarks and fuzzers.
if(NOT TARGET null_device)
  add_library(null_device OBJECT ${PROJECT_SOURCE_DIR}/bench/null_device.cpp ${PROJECT_SOURCE_DIR}/bench/client_frames.cpp
              ${PROJECT_SOURCE_DIR}/softswitch/intf_list.cpp)
  target_include_directories(null_device PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(null_device PRIVATE dhcp_warnings)
endif()
