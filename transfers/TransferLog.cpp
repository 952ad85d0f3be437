#include "transfers/TransferLog.h"

#include "foundation/log/ActivityLog.h"

void recordTransfer(B2LogLevel level, std::string message, std::optional<std::string> detail)
{
    ActivityLog::shared().record({level, "transfer", std::move(message), std::move(detail)});
}
