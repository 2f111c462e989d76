#include "stream/CameraWindowView.h"

#include "platform/TextStyles.h"
#include "settings/AppSettings.h"
#include "settings/SnapshotUrls.h"
#include "stream/SnapshotStreamView.h"

#include <QLabel>
#include <QVBoxLayout>

namespace kestrel {

CameraWindowView::CameraWindowView(const Camera &camera, const CameraWindowEnvironment &environment,
                                   QWidget *parent)
    : QWidget(parent), m_camera(camera), m_environment(environment), m_title(new QLabel(this)),
      m_stream(new SnapshotStreamView(environment.monitor, this, environment.curlPath))
{
    auto *layout = new QVBoxLayout(this);
    m_title->setFont(textStyles::headline());
    m_title->setTextFormat(Qt::PlainText);
    layout->addWidget(m_title);
    layout->addWidget(m_stream, 1);
    m_stream->setTargetFPS(camera.fps);
    // Formed anew from the settings on every change, so a new address shows at once.
    connect(&environment.settings, &AppSettings::changed, this, &CameraWindowView::refresh);
    refresh();
}

void CameraWindowView::refresh()
{
    m_title->setText(m_camera.name);
    m_stream->setSnapshotURLs(
        makeSnapshotURLs(m_environment.settings.printerIP(), m_camera.snapshotPath));
}

} // namespace kestrel
