#ifndef HOSTILETEXTS_H
#define HOSTILETEXTS_H

#include <string>
#include <vector>

/// Texts of malicious or careless clients. None of them is the identifier of a row of the campaign,
/// or a part of its canaries.
const std::vector<std::string>& hostileTexts();

/// Paths that try to leave the device root, with a path @p outside of it, and some unusual ones.
/// "@" in a path is replaced by the name of an existing file.
std::vector<std::string> hostilePaths(const std::string& outside);

/// Whether XML can carry @p text: UTF-8 without the characters that XML leaves out.
bool isCarriedByXml(const std::string& text);

#endif
