# Installs the build into a temporary DESTDIR and validates what a desktop needs from it: every
# file in place, the desktop entry (desktop-file-validate) and the metainfo (appstreamcli), each
# validator when it is installed. Run by CTest with -DBUILD_DIR=... -DSTAGE=...
file(REMOVE_RECURSE ${STAGE})
execute_process(COMMAND ${CMAKE_COMMAND} -E env DESTDIR=${STAGE}
                        ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix /usr
                RESULT_VARIABLE status OUTPUT_QUIET)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "cmake --install failed")
endif()
set(app_id example.tallymoor.Tallymoor)
set(root ${STAGE}/usr)
foreach(file bin/tallymoor share/applications/${app_id}.desktop
             share/metainfo/${app_id}.metainfo.xml share/icons/hicolor/scalable/apps/${app_id}.svg
             share/icons/hicolor/48x48/apps/${app_id}.png share/man/man1/tallymoor.1.gz
             share/bash-completion/completions/tallymoor share/zsh/vendor-completions/_tallymoor
             share/fish/vendor_completions.d/tallymoor.fish share/doc/tallymoor/copyright
             share/doc/tallymoor/changelog.gz)
  if(NOT EXISTS ${root}/${file})
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()
find_program(DESKTOP_FILE_VALIDATE desktop-file-validate)
if(DESKTOP_FILE_VALIDATE)
  execute_process(COMMAND ${DESKTOP_FILE_VALIDATE} ${root}/share/applications/${app_id}.desktop
                  RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "desktop-file-validate refused the desktop entry")
  endif()
endif()
find_program(APPSTREAMCLI appstreamcli)
if(APPSTREAMCLI)
  execute_process(COMMAND ${APPSTREAMCLI} validate --no-net
                          ${root}/share/metainfo/${app_id}.metainfo.xml
                  RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "appstreamcli refused the metainfo")
  endif()
endif()
file(REMOVE_RECURSE ${STAGE})
