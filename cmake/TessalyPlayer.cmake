# What plays movies (src/linux/quick/player): loaded when the first one is opened, so that nothing else waits for
# Qt Multimedia and the libraries behind it.
find_package(Qt6 6.4 REQUIRED COMPONENTS Multimedia)
tessaly_module(player ${CMAKE_SOURCE_DIR}/src/linux/quick/player libavformat libavutil libswscale)
target_link_libraries(tessaly-player PRIVATE Qt6::Multimedia Qt6::Gui)
