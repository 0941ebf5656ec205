# A small Maildir for the example's tests: an Inbox of four messages, of which two share subject and sender (one
# group for a scan by both), and a folder "Work" below the root.

function(tessel_write_message path from subject id body)
  file(WRITE ${path}
    "From: ${from}\nTo: you@example.org\nSubject: ${subject}\nDate: Mon, 2 Mar 2020 10:00:00 +0000\n"
    "Message-ID: <${id}@example.org>\nMIME-Version: 1.0\nContent-Type: text/plain; charset=utf-8\n\n${body}\n")
endfunction()

function(tessel_make_sample_maildir root)
  file(REMOVE_RECURSE ${root})
  foreach(folder ${root} ${root}/.Work)
    file(MAKE_DIRECTORY ${folder}/cur ${folder}/new ${folder}/tmp)
  endforeach()
  tessel_write_message(${root}/cur/1583143200.1.sample:2,S "Alice <alice@example.org>" "Lunch on Friday" a1 "Noon?")
  tessel_write_message(${root}/cur/1583143260.2.sample:2,S "Alice <alice@example.org>" "Lunch on Friday" a2
    "Noon? (sent twice)")
  tessel_write_message(${root}/cur/1583143320.3.sample:2, "Bob <bob@example.org>" "Lunch on Friday" b1 "Yes.")
  tessel_write_message(${root}/cur/1583143380.4.sample:2,S "Alice <alice@example.org>" "Report" a3 "Attached.")
  tessel_write_message(${root}/.Work/cur/1583143440.5.sample:2,S "Carol <carol@example.org>" "Plans" c1 "Soon.")
endfunction()

# Runs a built example on a fresh sample store below work_dir and checks what it prints.
function(tessel_check_example example work_dir)
  tessel_make_sample_maildir(${work_dir}/Maildir)
  set(ENV{TESSEL_MAILDIR} ${work_dir}/Maildir)
  execute_process(COMMAND ${example} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
  message(STATUS "${example}:\n${output}${errors}")
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${example} failed: ${result}")
  endif()
  foreach(expected
      "folders:\n  Inbox \\(4 messages, 1 unread\\)\n  Work \\(1 messages, 0 unread\\)\n"
      "Inbox: 4 messages, 1 groups of duplicates\ngroup 1\n"
      "  original  [0-9A-F]+  \"Lunch on Friday\"\n  duplicate [0-9A-F]+  \"Lunch on Friday\"\n$")
    if(NOT output MATCHES "${expected}")
      message(FATAL_ERROR "${example}: output lacks \"${expected}\"")
    endif()
  endforeach()
endfunction()
