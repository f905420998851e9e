// The 3D view of the main window.
#pragma once

#include "openhost/desktop/view/ViewScene.h"

#include <QAction>
#include <QImage>
#include <QList>
#include <QString>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

namespace openhost {

/// Why an element cannot be picked; empty when it can.
using ReasonAgainstPicking = std::function<QString(InstanceId id)>;

/// Shows meshes, placed in space, and lets the user turn, choose and hide them. It knows triangles and identifiers,
/// never documents. Where there is no OpenGL it shows the reason instead, and all operations go on as they would.
class ProductView final : public QWidget {
    Q_OBJECT

public:
    explicit ProductView(QWidget* parent = nullptr);
    ~ProductView() override;

    /// Replaces all that is shown. The camera stays, and what is hidden and selected stays so by its identifier; meshes
    /// of none of the instances are forgotten. An instance is shown when its mesh comes. Instances that are not placed
    /// rigidly are left out.
    void SetInstances(std::vector<Instance> instances);
    /// Gives the mesh of all instances of `key`, or takes it away with null. The camera is moved so that all is shown
    /// until the user has moved it.
    void SetMesh(const MeshKey& key, std::shared_ptr<const ShownMesh> mesh);

    /// Nothing else is selected, or hidden. Identifiers without an instance are kept for instances to come.
    void Select(std::unordered_set<InstanceId> ids);
    void SetHidden(std::unordered_set<InstanceId> ids);
    void Hide(const std::unordered_set<InstanceId>& ids);
    void Show(const std::unordered_set<InstanceId>& ids);
    /// Hides all other instances.
    void Isolate(const std::unordered_set<InstanceId>& ids);
    void ShowAll();
    const std::unordered_set<InstanceId>& Selected() const;
    const std::unordered_set<InstanceId>& Hidden() const;

    /// While a command waits for an element: `reason` is asked for each instance; those that cannot be picked are
    /// faded, are not reported as picked, and tell the reason when the pointer is over them. None ends that.
    void SetPickable(ReasonAgainstPicking reason);

    /// Fits all, or what is selected, into the view.
    void FitAll();
    void FitSelected();

    /// All actions of the view in the order of a menu, separators among them. An action is found by its name:
    /// ViewFit, ViewFitSelected, ViewIsometric, ViewFront, ViewBack, ViewLeft, ViewRight, ViewTop, ViewBottom,
    /// ViewZoomIn, ViewZoomOut, ViewShadedWithEdges, ViewShaded, ViewWireframe, ViewPerspective, ViewHide, ViewIsolate,
    /// ViewShowAll. Keys work while the view has the focus.
    QList<QAction*> Actions() const;
    QAction* Action(const QString& name) const;

    /// Why nothing can be shown; empty when it can, or when that is not known before the view is shown.
    QString Problem() const;
    /// Whether all that is there is drawn in its full detail.
    bool IsComplete() const;
    /// What the view shows, completed before; null where nothing can be shown.
    QImage Snapshot();
    /// Writes that into the file `path`. Whether that has worked.
    bool SavePicture(const QString& path);

Q_SIGNALS:
    /// The user has clicked on an instance, or on none.
    void Picked(std::optional<openhost::InstanceId> id, Qt::KeyboardModifiers modifiers);
    /// The pointer is over another instance, or over none.
    void Hovered(std::optional<openhost::InstanceId> id);
    /// The user asks for a menu there.
    void MenuRequested(const QPoint& globalPosition, std::optional<openhost::InstanceId> id);
    /// An action of the view has changed what is hidden.
    void HiddenChanged();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace openhost
