# The screens: adapters between the views and Qt Quick, and the interface files, as one static QML module that the
# program and the tests link. Nothing else of the project knows Qt.
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Qml Quick Svg DBus)

# The player is a module of its own.
set(TESSALY_QUICK_FOLDERS outlets pictures map window sheets)
list(TRANSFORM TESSALY_QUICK_FOLDERS PREPEND ${CMAKE_SOURCE_DIR}/src/linux/quick/)
set(TESSALY_QUICK_SOURCES)
foreach(folder ${TESSALY_QUICK_FOLDERS})
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp ${folder}/*.h)
  list(APPEND TESSALY_QUICK_SOURCES ${sources})
endforeach()
file(GLOB_RECURSE TESSALY_INTERFACE_FILES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/*.qml)
# One folder for the engine, wherever a file stands beside its controller.
foreach(file ${TESSALY_INTERFACE_FILES})
  get_filename_component(name ${file} NAME)
  set_source_files_properties(${file} PROPERTIES QT_RESOURCE_ALIAS ${name})
endforeach()

qt_add_library(tessaly_quick STATIC ${TESSALY_QUICK_SOURCES})
# Byte code only: compiled bindings of Qt 6.4 cannot take the adapters that the outlets' functions answer.
set_target_properties(tessaly_quick PROPERTIES AUTOMOC ON QT_QMLCACHEGEN_ARGUMENTS "--only-bytecode")
target_include_directories(tessaly_quick PUBLIC ${CMAKE_SOURCE_DIR}/src)
# The generated type registrations include the adapters' headers by their bare names.
target_include_directories(tessaly_quick PRIVATE ${TESSALY_QUICK_FOLDERS})
target_link_libraries(tessaly_quick
  PUBLIC libtessaly Qt6::Core Qt6::Gui Qt6::Qml Qt6::Quick Qt6::DBus
  PRIVATE Qt6::Svg)
qt_add_qml_module(tessaly_quick
  URI Tessaly
  VERSION 1.0
  DEPENDENCIES QtQuick
  RESOURCE_PREFIX /qt/qml
  OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/qml/Tessaly
  QML_FILES ${TESSALY_INTERFACE_FILES})
tessaly_precompile(tessaly_quick <QImage> <QObject> <QPointer> <QQuickItem> <QQuickWindow> <QString>)
