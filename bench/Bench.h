#ifndef BENCH_H
#define BENCH_H

#include <functional>
#include <string>
#include <vector>

#include "FloorDatabase.h"
#include "RequestFields.h"
#include "service/DataAccessService.h"

/**
 * How to add an operation:
 *
 *  1. Take the file of its subject, bench/<Subject>Bench.cpp, or begin one and list it in
 *     bench/CMakeLists.txt. Keep the operations of a file together by
 *     `const Bench::Registration registration(operations());`
 *  2. Fill an Operation. `prepare` makes the data through the service; the floor then works on a
 *     copy of that database file, so both always do the same work on the same pages.
 *  3. `request` and `statements` make the texts of a round, outside of the measured time. An update
 *     must write another value in each round: SQLite writes nothing when a cell stays as it is.
 *  4. `floor` runs the statements of the round and builds the answer by hand, with the helpers of
 *     FloorDatabase.h. The statements must be those of the service, text by text and one by one;
 *     `das_bench --statements --filter NAME` shows what the service runs.
 *  5. A state that the operation uses up is brought back by `reset`: statements that run on both
 *     databases before each round, outside of the measured time.
 *
 * Before anything is measured the program compares statements and answers of service and floor
 * byte by byte, and the answers in every round too; a difference ends the operation and makes the
 * exit status 1. `das_bench --compare` does the first alone; it is one of the tests. What an
 * operation may cost stands in bench/limits.json.
 */
namespace Bench {

using Texts = std::vector<std::string>;

struct Operation {
    std::string name;
    /// Creates the data, once for each file system.
    std::function<void(DataAccessService&)> prepare;
    /// Statements to run before each round; may be empty.
    std::function<Texts(int round)> reset;
    /// The argument of `service`.
    std::function<std::string(int round)> request;
    /// The argument of `floor`: the SQL that the service will run, in order.
    std::function<Texts(int round)> statements;
    /// The same, made from the request alone. An operation that has this in place of `statements`
    /// is also measured over pipes, by das_pipe_bench.
    std::function<Texts(const RequestFields& request)> statementsOf;
    std::function<std::string(FloorDatabase&, const Texts& statements)> floor;
    /// A query that reads the rows written in a round, because memory use is compared with their
    /// size; empty if the rows are those that `floor` reads.
    std::string written;
    /// The measured operation; if empty, a request.
    std::function<std::string(DataAccessService&, const std::string& request)> service;
    /// With `service`: the remote call that does the same, as a line of JSON-RPC, and its answer.
    std::string call;
    std::string answerToCall;
};

/// Keeps operations for the run of the program; one object at namespace scope in each file.
class Registration {
public:
    explicit Registration(const std::vector<Operation>& operations);
};

/// All operations that were registered.
const std::vector<Operation>& operations();

/// A request text: header, schema, reason, and @p body after them.
std::string message(const std::string& schema, const std::string& reason, const std::string& body);

}  // namespace Bench

#endif
