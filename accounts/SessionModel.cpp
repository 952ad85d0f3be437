#include "accounts/SessionModel.h"

#include <utility>

void SessionModel::reset(std::shared_ptr<B2Session> newSession)
{
    outdateTickets();
    clear();
    session = std::move(newSession);
}

SessionModel::Ticket SessionModel::ticket()
{
    outdateTickets();
    return {*session, generation_};
}
