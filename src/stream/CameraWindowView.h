#pragma once

#include "settings/Camera.h"
#include "stream/CameraWindowEnvironment.h"

#include <QWidget>

class QLabel;

namespace kestrel {

class SnapshotStreamView;

// The whole content of one camera window: the camera's name over its live picture.
class CameraWindowView : public QWidget
{
    Q_OBJECT

public:
    CameraWindowView(const Camera &camera, const CameraWindowEnvironment &environment,
                     QWidget *parent = nullptr);

    const Camera &camera() const { return m_camera; }

private:
    void refresh();

    const Camera m_camera;
    const CameraWindowEnvironment m_environment;
    QLabel *m_title;
    SnapshotStreamView *m_stream;
};

} // namespace kestrel
