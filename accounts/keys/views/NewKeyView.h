#pragma once

#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2Requests.h"
#include "accounts/B2Session.h"
#include "accounts/keys/NewKeyRules.h"
#include "foundation/views/sheets/Sheet.h"

#include <memory>
#include <vector>

class KeysModel;
class PermissionList;
class QComboBox;
class QLineEdit;

/// The sheet for a new application key. It requests the key and closes when it was created; a failure is shown in it.
///
/// It belongs to the session in use when it opens, and closes when that is replaced.
/// Closing it while a key is being created does not cancel that: the secret is shown afterwards.
class NewKeyView final : public Sheet {
    Q_OBJECT

public:
    /// @param buckets  the buckets that a key can be limited to.
    NewKeyView(KeysModel& model, std::vector<B2Bucket> buckets, QWidget* parent);

    const NewKeyForm& form() const { return form_; }
    /// The session whose buckets and permissions are offered.
    std::weak_ptr<B2Session> session() const { return session_; }
    /// Has it requested a key whose outcome is not yet shown?
    bool hasAsked() const { return hasAsked_; }

Q_SIGNALS:
    /// Requests the key; the form is valid, and the question about several buckets was answered.
    void createRequested(const B2CreateKeyRequest& request);

protected:
    void makeRoom() override;

private:
    void buildFields();
    void readForm();
    void render();
    void followModel();
    void renderBusy();
    void chooseBuckets();
    void submit();
    void askAboutSeveralBuckets();
    void request();
    NewKeyRules rules() const;

    KeysModel& model_;
    const std::weak_ptr<B2Session> session_;
    const std::vector<B2Bucket> buckets_;
    const std::set<B2Capability> held_; ///< The capabilities of the key in use.
    NewKeyForm form_;
    QLineEdit* name_;
    QComboBox* grants_;
    QLabel* grantsText_;
    PermissionList* permissions_;
    QLabel* risk_;
    QPushButton* chooser_;
    QLabel* reach_;
    QLabel* leftOut_;
    QLineEdit* prefix_;
    QLabel* prefixNote_;
    QComboBox* lifetime_;
    bool isWorking_ = false;
    bool hasAsked_ = false; ///< A key was requested whose outcome is not yet shown.
};
