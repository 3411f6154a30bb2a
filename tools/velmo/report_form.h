#pragma once

namespace velmo_tool {

// How a subcommand shows what it found out.
enum class ReportForm { Table, Json };

}  // namespace velmo_tool
