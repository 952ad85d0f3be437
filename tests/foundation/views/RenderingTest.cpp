#include "foundation/views/Labels.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/PathBar.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/style/ColorRoles.h"

#include "tests/foundation/views/Scene.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHash>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

#include <algorithm>
#include <functional>
#include <memory>

namespace {

struct Case {
    const char* name;
    std::function<std::unique_ptr<QWidget>()> make;
};

std::vector<Case> cases()
{
    return {
        {"banner",
            [] {
                auto banner = std::make_unique<Banner>();
                banner->showMessage(MessageKind::warning, text("This key lacks a capability."), text("Show"));
                return banner;
            }},
        {"empty state",
            [] {
                auto state = std::make_unique<EmptyState>();
                state->showText(Symbol::cloud, text("No files"), text("Drop some here."));
                return state;
            }},
        {"path bar",
            [] {
                auto bar = std::make_unique<PathBar>();
                bar->setSegments({{text("archive"), {}, Symbol::bucketPrivate}, {text("photos"), {}, {}}});
                return bar;
            }},
        {"search field", [] { return std::make_unique<SearchField>(text("Find in this folder")); }},
        {"status line",
            [] {
                auto line = std::make_unique<StatusLine>();
                line->setText(text("3 files"));
                return line;
            }},
        {"section title", [] { return std::make_unique<SectionTitle>(text("Buckets")); }},
        {"push button", [] { return std::make_unique<QPushButton>(text("Upload")); }},
        {"check box", [] { return std::make_unique<QCheckBox>(text("Verify")); }},
        {"radio button", [] { return std::make_unique<QRadioButton>(text("Private")); }},
        {"spin box", [] { return std::make_unique<QSpinBox>(); }},
        {"combo box",
            [] {
                auto box = std::make_unique<QComboBox>();
                box->addItem(text("Private"));
                return box;
            }},
    };
}

QImage rendered(QWidget& widget, double ratio)
{
    QImage image(widget.size() * ratio, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::magenta);
    widget.render(&image);
    return image;
}

// The colour of most pixels.
QColor groundOf(const QImage& image)
{
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            ++counts[image.pixel(x, y)];
        }
    }
    const auto most = std::max_element(counts.cbegin(), counts.cend());
    return QColor(most.key());
}

double bestContrast(const QImage& image)
{
    const QColor ground = groundOf(image);
    double best = 1;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            best = std::max(best, contrastRatio(image.pixelColor(x, y), ground));
        }
    }
    return best;
}

TEST(RenderingTest, EveryWidgetReadsInLightAndDarkAtBothScales)
{
    for (const Case& each : cases()) {
        SCOPED_TRACE(each.name);
        const auto widget = each.make();
        present(*widget);
        // The scheme changes under a widget that is already shown.
        for (const QPalette& palette : {Theme::lightPalette(), Theme::darkPalette()}) {
            SCOPED_TRACE(isDark(palette) ? "dark" : "light");
            const InPalette scheme(palette);
            QApplication::processEvents();
            for (const double ratio : {1.0, 2.0}) {
                SCOPED_TRACE(ratio);
                const QImage image = rendered(*widget, ratio);
                EXPECT_EQ(countOf(image, Qt::magenta, 0), 0);
                EXPECT_GE(bestContrast(image), 4.0);
                EXPECT_EQ(groundOf(image).lightness() < 128, isDark(palette));
            }
        }
    }
}

TEST(RenderingTest, AFocusedControlDiffersVisiblyFromAnIdleOne)
{
    for (const Case& each : cases()) {
        const auto widget = each.make();
        if ((widget->focusPolicy() & Qt::TabFocus) == 0) {
            continue;
        }
        SCOPED_TRACE(each.name);
        for (const QPalette& palette : {Theme::lightPalette(), Theme::darkPalette()}) {
            const InPalette scheme(palette);
            present(*widget);
            widget->setFocus();
            const int focused = countOf(rendered(*widget, 1), accent(palette));
            widget->clearFocus();
            EXPECT_GT(focused, countOf(rendered(*widget, 1), accent(palette)) + 40);
        }
    }
}

} // namespace
