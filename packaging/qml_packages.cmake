# The Debian packages that hold the QML modules the app imports. The engine loads them by name
# when the window opens: no binary links them, so dpkg-shlibdeps cannot see them. They are
# found as it finds libraries: from what the app uses (the imports of its QML files, then each
# module's own imports and dependencies in its qmldir) to the files on this machine, and from
# the files to their packages in dpkg's database.
#   dustwhale_qml_packages(<var> <folder of QML files>)
function(dustwhale_qml_packages out_var qml_source_dir)
  set(${out_var} "" PARENT_SCOPE)
  find_program(DPKG_QUERY_EXECUTABLE dpkg-query)
  if(NOT DPKG_QUERY_EXECUTABLE OR NOT QT6_INSTALL_PREFIX OR NOT QT6_INSTALL_QML)
    return()
  endif()
  set(qml_root ${QT6_INSTALL_PREFIX}/${QT6_INSTALL_QML})

  file(GLOB_RECURSE qml_files ${qml_source_dir}/*.qml)
  set(pending)
  foreach(file IN LISTS qml_files)
    file(STRINGS ${file} imports REGEX "^import [A-Za-z][A-Za-z0-9.]*")
    foreach(line IN LISTS imports)
      string(REGEX REPLACE "^import ([A-Za-z][A-Za-z0-9.]*).*" "\\1" uri "${line}")
      list(APPEND pending ${uri})
    endforeach()
  endforeach()

  # What a module needs is named in its qmldir by "import", "depends" and "default import"
  # (the style used when none is chosen); an "optional import" is loaded only when asked for.
  set(seen)
  set(qmldirs)
  while(pending)
    list(POP_FRONT pending uri)
    if(uri IN_LIST seen)
      continue()
    endif()
    list(APPEND seen ${uri})
    string(REPLACE "." "/" folder ${uri})
    set(qmldir ${qml_root}/${folder}/qmldir)
    if(NOT EXISTS ${qmldir})
      continue()  # the app's own module, compiled into it
    endif()
    list(APPEND qmldirs ${qmldir})
    file(STRINGS ${qmldir} needs REGEX "^(import|depends|default import) ")
    foreach(line IN LISTS needs)
      string(REGEX REPLACE "^(import|depends|default import) ([A-Za-z][A-Za-z0-9.]*).*" "\\2"
        needed "${line}")
      list(APPEND pending ${needed})
    endforeach()
  endwhile()
  if(NOT qmldirs)
    return()
  endif()

  execute_process(COMMAND ${DPKG_QUERY_EXECUTABLE} --search ${qmldirs}
    OUTPUT_VARIABLE owners RESULT_VARIABLE status ERROR_QUIET)
  if(NOT status EQUAL 0)
    message(WARNING "Not every QML module the app imports belongs to a package; the Debian "
                    "package names only those that do")
  endif()
  # "qml6-module-qtquick-controls:amd64: /usr/lib/.../QtQuick/Controls/qmldir"
  string(REGEX MATCHALL "[^\n]+" lines "${owners}")
  set(packages)
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^([^:, ]+).*" "\\1" package "${line}")
    list(APPEND packages ${package})
  endforeach()
  list(REMOVE_DUPLICATES packages)
  list(SORT packages)
  set(${out_var} ${packages} PARENT_SCOPE)
endfunction()
