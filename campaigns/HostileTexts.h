#ifndef HOSTILETEXTS_H
#define HOSTILETEXTS_H

#include <string>
#include <vector>

/// Texts that a client sends who means ill, or knows no better. None is the identifier of a row
/// that the campaign makes, nor a part of its canaries.
const std::vector<std::string>& hostileTexts();

/// Paths that try to leave the device root, with a place @p outside of it; and some that are only
/// odd. "@" in a path stands for the name of a file that is there.
std::vector<std::string> hostilePaths(const std::string& outside);

/// Whether XML can carry @p text: UTF-8 without the characters that XML leaves out.
bool isCarriedByXml(const std::string& text);

#endif
