#ifndef MODELTEXTS_H
#define MODELTEXTS_H

#include <map>
#include <string>
#include <vector>

#include "testkit/Messages.h"

/// Messages and answers in the form of the model of the service.
namespace ModelTexts {

using xml::element;
using Texts = std::vector<std::string>;

/// A message. Without @p context the elements of @p body have no Context around them.
std::string message(const std::string& schema, const std::string& reason,
                    const std::string& context, const std::string& columns,
                    const std::string& body);

/// An answer with its entries and items sorted, if their order is up to the database.
std::string canonical(const std::string& answer);

/// A canonical answer.
std::string answer(const std::string& schema, const std::string& reason,
                   const std::string& data = {});
std::string failure(const std::string& schema);

/// The entries of a read, inside the context that was sent.
std::string inContext(const std::string& context, const std::string& data);

/// The entry of a row, with its number in the column @p key.
std::string entryOf(long number, const std::string& key,
                    const std::map<std::string, std::string>& row, const Texts& columns);

}  // namespace ModelTexts

#endif
