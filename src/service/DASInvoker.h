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
     * Finds the first @p name anywhere in @p xml and gives the text between the next two double
     * quotes. The search is for plain text, so "name" is found inside "directory name" as well.
     *
     * @return false when the name or a quote is missing; @p value is untouched then
     */
    static bool extractParamFromXMLString(const std::string& xml, const std::string& name,
                                          std::string& value);

    /**
     * Reads two quoted texts after @p position, a directory and a file, into the one @p path.
     *
     * @return the position after the last quote; -1 when a quote is missing or @p position is
     *         negative
     */
    static int parsePathFilename(int position, const std::string& xml, std::string& path);

    /**
     * The text of a directory listing.
     *
     * A subdirectory without an entry of its own opens an element and does not close it, so the
     * text is no well-formed document: kept on purpose, its readers take it as it is.
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
