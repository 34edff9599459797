#ifndef DASINVOKER_H
#define DASINVOKER_H

#include <string>

#include "DASTypes.h"
#include "Invoker.h"

/**
 * The service's remote methods: decodes a message with its protocol's adapter, calls the operation
 * of DataAccessServiceIfc that the method's name stands for, and encodes the answer.
 *
 * It keeps nothing between messages and takes no lock; any thread may call.
 */
class DASInvoker : public Invoker {
public:
    /**
     * Handles one message; @p response is deleted in every case.
     *
     * No reply is given to a one-way method, to an unknown one and for an unknown protocol. A
     * message that can't be decoded gets a reply without a name. Without a service, or when the
     * service throws an exception, every method with a reply gets the string "Response" with
     * "failure".
     */
    void handleMessage(Executable* executable, const char* message, int length,
                       InvokerResponse* response) override;

    void initInvoker(FrameworkContext* context) override { m_frameworkContext = context; }

    /**
     * Finds the first @p name anywhere in @p xml and extracts the string between the next two
     * double quotes. It is a plain search, so "name" is also found inside "directory name".
     *
     * @return false if the name or a quote is missing; @p value does not change then
     */
    static bool extractParamFromXMLString(const std::string& xml, const std::string& name,
                                          std::string& value);

    /**
     * Reads two quoted strings after @p position, a directory and a file, and joins them in
     * @p path.
     *
     * @return the position after the last quote; -1 if a quote is missing or @p position is
     *         negative
     */
    static int parsePathFilename(int position, const std::string& xml, std::string& path);

    /**
     * The text of a directory listing.
     *
     * If a subdirectory has no entry of its own, its element is opened but not closed, so the text
     * is not well-formed: kept on purpose, its readers expect this.
     *
     * @param entry       the directory to begin with; not looked at when there are no directories
     * @param directories directories with their subdirectories
     * @param files       directories with their files
     * @param name        the directory that was asked for, written when there are no directories
     */
    static std::string constructDirectoryTreeResponse(DirectoryList::const_iterator entry,
                                                      const DirectoryList* directories,
                                                      const DirectoryList* files,
                                                      const std::string& name);

private:
    FrameworkContext* m_frameworkContext = nullptr;  // not owned
};

#endif
