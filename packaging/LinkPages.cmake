# Has the pages in FOLDER lead to each other: a link to a document becomes one to its page.
file(GLOB_RECURSE pages ${FOLDER}/*.html)
foreach(page ${pages})
    file(READ ${page} text)
    string(REGEX REPLACE "(href=\"[^\":]*\\.md)([\"#])" "\\1.html\\2" text "${text}")
    file(WRITE ${page} "${text}")
endforeach()
file(WRITE ${FOLDER}/linked "")
