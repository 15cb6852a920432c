#pragma once
// Data-bound editors: a control that shows one field of the row under its table's cursor and
// writes the user's change into that row. It follows the cursor as the tree and the grids do
// (none of it while the table's controls are disabled; it catches up at EnableControls).
#include <string>

#include "store/MemData.h"
#include "toolkit/DataSource.h"
#include "toolkit/StdCtrls.h"

// A check box bound to a boolean field: ticked when the current row holds true (a null reads as
// unticked). The user's click edits the current row (Edit, the field, and Post at once with
// ImmediatePost); with no row shown it does nothing, so that no blank row is made. Its click
// event fires whenever the state shown changes, as a check box's does.
class TcxDBCheckBox : public TCheckBox, public IDataObserver {
public:
    using TCheckBox::TCheckBox;
    ~TcxDBCheckBox() override;

    // Binds the box to a field of the source's table, and shows the current row's value.
    void SetDataBinding(TDataSource* source, std::string fieldName);
    TDataSource* DataSource() const { return source_; }
    const std::string& DataField() const { return fieldName_; }
    bool ImmediatePost = false;

    void DataEvent(TdxMemData& table, TDataEvent event, TField* field) override;

protected:
    void DescribeProperties(TPropertyList& list) const override;
    void Clicked() override;
    bool AcceptsUserText() const override { return Editable(); }

private:
    TdxMemData* DataSet() const { return source_ ? source_->DataSet : nullptr; }
    TField* Field() const;
    bool Editable() const;
    // Shows the current row's value.
    void Refresh();

    TDataSource* source_ = nullptr;
    std::string fieldName_;
};
