#include "transfers/TransferRun.h"

Task<> runFolderUpload(FolderUploadOrder, TransferRun run, UploadContext)
{
    run.setState(Transfer::State::failed("Folders can't be uploaded yet; nothing was sent."));
    co_return;
}

Task<> runFolderDownload(FolderDownloadOrder, TransferRun run, DownloadContext)
{
    run.setState(Transfer::State::failed("Folders can't be downloaded yet; nothing was saved."));
    co_return;
}
