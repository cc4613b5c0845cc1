/* The menu commands of the tools by their identifiers, which are host-wide: they also key stored settings and
 * core messages. A host lays out its menus with them. */
#ifndef VESTA_CONTRACT_COMMAND_IDS_H
#define VESTA_CONTRACT_COMMAND_IDS_H

enum {
  HOST_COMMAND_CRASH_TEST = 1022343,
  HOST_COMMAND_TRANSLATOR_LOCATOR = 12432341,
  HOST_COMMAND_IMPORT_SCRIPT_STRINGS = 1001192,
  HOST_COMMAND_EXPORT_SCRIPT_STRINGS = 1001193,
  HOST_COMMAND_ATTACHMENT_SCANNER = 200000252,
  HOST_COMMAND_IO_BROWSER = 200000286,
  HOST_COMMAND_LUMICHECK = 1001198
};

#endif
