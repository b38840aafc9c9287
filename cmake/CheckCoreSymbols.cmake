# Fails when the core library's objects refer to a symbol of a higher layer: widgets and GUI
# (Qt Widgets, Qt Gui), D-Bus, or GLib/GIO. Run by CTest as: cmake -DLIBRARY=... -DNM=... -P
execute_process(COMMAND ${NM} --undefined-only --demangle ${LIBRARY}
                OUTPUT_VARIABLE symbols RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
string(REGEX MATCHALL "[^\n]*(QWidget|QDialog|QApplication|QGuiApplication|QDBus|QAction|QMenu|QPixmap|QColor|QClipboard| g_[a-z_]+)[^\n]*"
       offending "${symbols}")
if(offending)
  list(REMOVE_DUPLICATES offending)
  string(REPLACE ";" "\n" offending "${offending}")
  message(FATAL_ERROR "the core reaches a higher layer:\n${offending}")
endif()
message(STATUS "the core refers to Qt Core and the system only")
