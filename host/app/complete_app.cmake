# Copies what the application folder holds beside programs and modules.
file(COPY ${PROJECT}/app/ DESTINATION ${APP} PATTERN vestaplugin EXCLUDE)
file(COPY ${PROJECT}/frameworks DESTINATION ${APP} FILES_MATCHING PATTERN "*.h" PATTERN "*.inc")
