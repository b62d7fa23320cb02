install(TARGETS libtessaly tessaly_warnings EXPORT tessaly
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
